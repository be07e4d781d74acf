#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "app/TerminationSignals.h"
#include "settings/CAppSetting.h"

#include <QtSingleApplication>

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);

    // Widgets are painted without OpenGL; loading its drivers would double the time to the first frame and the memory.
    const bool choosesGraphics = qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION");
    if (!choosesGraphics)
        qputenv("QT_XCB_GL_INTEGRATION", "none");

    QtSingleApplication application(argc, argv, true);
    if (application.isRunning()) {
        application.sendMessage(QStringLiteral("Wake up!"), 5000);
        return 0;
    }

    QGuiApplication::setDesktopFileName(QStringLiteral("fourfold"));

    const TerminationSignals terminationSignals;
    // The product's identity and the options come before any window.
    static_cast<void>(CAppSetting::instance());
    Skin::registerResource();
    Skin::applyStyleSheet();

    SkMainWindow window(nullptr, {});
    window.showMainWindow();
    // Programs that are opened from here choose for themselves.
    if (!choosesGraphics)
        qunsetenv("QT_XCB_GL_INTEGRATION");
    application.setActivationWindow(&window, true);
    return application.exec();
}
