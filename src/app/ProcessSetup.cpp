#include "app/ProcessSetup.h"

#include <QCoreApplication>

#include <algorithm>

#include <sys/resource.h>

namespace {

const char graphics[] = "QT_XCB_GL_INTEGRATION";
const char networkThreads[] = "QT_NO_THREADED_GLIB";
bool hasChosenGraphics = false;
constexpr rlim_t mostDescriptors = 10240; // more than that macOS refuses

} // namespace

namespace ProcessSetup {

void prepare()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);

    // Widgets are painted without OpenGL; loading its drivers would double the time to the first frame and the memory.
    hasChosenGraphics = !qEnvironmentVariableIsSet(graphics);
    if (hasChosenGraphics)
        qputenv(graphics, "none");

    // Qt's network threads wake up once for many events in Qt's own event loop, and for each of them in GLib's, which
    // the GUI thread keeps for the platform's dialogs. Over https that is tens of thousands of wake-ups in a gigabyte.
    if (!qEnvironmentVariableIsSet(networkThreads))
        qputenv(networkThreads, "1");

    // A download takes eight, and a window that finds none left waits for ever.
    rlimit descriptors = {};
    getrlimit(RLIMIT_NOFILE, &descriptors);
    const rlim_t wanted = std::min(descriptors.rlim_max, mostDescriptors);
    if (descriptors.rlim_cur < wanted) {
        descriptors.rlim_cur = wanted;
        setrlimit(RLIMIT_NOFILE, &descriptors);
    }
}

void forgetGraphics()
{
    if (hasChosenGraphics)
        qunsetenv(graphics);
}

} // namespace ProcessSetup
