#include "app/ProcessSetup.h"
#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "app/StandardStreams.h"
#include "app/TerminationSignals.h"
#include "settings/CAppSetting.h"

#include <QtSingleApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    StandardStreams::makeSafe();
    ProcessSetup::prepare();

    QtSingleApplication application(argc, argv, true);
    if (application.isRunning()) {
        if (!application.sendMessage(QStringLiteral("Wake up!"), 5000))
            std::fputs("fourfold: another instance is running but does not answer\n", stderr);
        return 0;
    }

    QGuiApplication::setDesktopFileName(QStringLiteral("fourfold"));

    const TerminationSignals terminationSignals;
    // The product's identity and the options come before any window.
    CAppSetting::instance()->makeDefaultOutputFolder();
    Skin::registerResource();
    Skin::applyStyleSheet();

    int result = 0;
    {
        SkMainWindow window(nullptr, {});
        window.showMainWindow();
        ProcessSetup::forgetGraphics();
        application.setActivationWindow(&window, true);
        result = application.exec();
    }
    // While this instance holds its lock: the next one reads them. The end of the process may have to wait for the
    // system, which looks up a host name without regard to anybody.
    CAppSetting::instance()->saveOptions();
    return result;
}
