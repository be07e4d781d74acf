#pragma once

// What the process asks of graphics, threads and descriptors where the usual answers do not suit this application. A
// choice that the person has made in the environment stays.
namespace ProcessSetup {

// Before the application object exists.
void prepare();

// Once a window is shown: programs that are opened from here choose their graphics for themselves.
void forgetGraphics();

} // namespace ProcessSetup
