#pragma once

namespace StandardStreams {

// First thing in main(): what is written to a stream that is closed, or whose reader has gone, is lost and nothing else
// happens. Otherwise the next descriptor that is opened, such as the display's, would receive it, or SIGPIPE would end
// the process.
void makeSafe();

} // namespace StandardStreams
