// Stands beside the application's own entry function and watches it up to the first frame of the main window.

#include "FirstFrame.h"

namespace {

void watch()
{
    static FirstFrame firstFrame;
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)
