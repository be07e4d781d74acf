#pragma once

#include <sys/resource.h>
#include <unistd.h>

// As long as it lives, the process has no more of a resource (RLIMIT_...).
class ResourceLimit final
{
public:
    ResourceLimit(__rlimit_resource resource, rlim_t value)
        : m_resource(resource)
    {
        ::getrlimit(m_resource, &m_usual);
        const rlimit limit{value, m_usual.rlim_max};
        ::setrlimit(m_resource, &limit);
    }
    ~ResourceLimit() { ::setrlimit(m_resource, &m_usual); }

    // For RLIMIT_NOFILE, when that many more can be opened at most.
    static rlim_t spareDescriptors(int count)
    {
        const int lowestFree = ::dup(STDERR_FILENO);
        ::close(lowestFree);
        return rlim_t(lowestFree) + rlim_t(count);
    }

private:
    const __rlimit_resource m_resource;
    rlimit m_usual{};
};
