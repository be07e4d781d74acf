#include "http/SpareDescriptors.h"

#include <QtGlobal>

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

QString descriptorShortage(int needed)
{
    QString reason;
    std::vector<int> trials;
    for (int i = 0; i < needed && reason.isEmpty(); ++i) {
        trials.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (trials.back() < 0)
            reason = qt_error_string(errno);
    }
    for (const int descriptor : trials) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    return reason;
}
