#include "app/StandardStreams.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace StandardStreams {

void makeSafe()
{
    std::signal(SIGPIPE, SIG_IGN);
    // A descriptor that is opened takes the lowest free number.
    int descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = ::open("/dev/null", O_RDWR);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}

} // namespace StandardStreams
