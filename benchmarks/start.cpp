// The application's start as its entry function makes it, up to the first frame of the main window.

#include "FirstFrame.h"

#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "app/TerminationSignals.h"
#include "settings/CAppSetting.h"

#include <QtSingleApplication>

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QtSingleApplication application(argc, argv, true);
    if (application.isRunning())
        return 1;
    QGuiApplication::setDesktopFileName(QStringLiteral("fourfold"));

    const TerminationSignals terminationSignals;
    static_cast<void>(CAppSetting::instance());
    Skin::registerResource();
    Skin::applyStyleSheet();

    SkMainWindow window(nullptr, {});
    FirstFrame firstFrame(window);
    window.showMainWindow();
    application.setActivationWindow(&window, true);
    return QtSingleApplication::exec();
}
