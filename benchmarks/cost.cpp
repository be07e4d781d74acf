// Runs a command and prints what it cost as the last line of its output: fourfold-cost COMMAND [ARGUMENT]...
// A small program of its own, since a process counts the memory of the one that started it as its own peak.

#include <cstdio>
#include <ctime>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

namespace {

double monotonicSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

double seconds(const timeval &time)
{
    return double(time.tv_sec) + double(time.tv_usec) / 1e6;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 2) {
        std::fputs("usage: fourfold-cost COMMAND [ARGUMENT]...\n", stderr);
        return 2;
    }
    const double started = monotonicSeconds();
    pid_t child = 0;
    if (posix_spawnp(&child, argv[1], nullptr, nullptr, argv + 1, environ) != 0) {
        std::perror(argv[1]);
        return 127;
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child)
        return 127;
    std::printf(R"({"started": %.6f, "wall": %.6f, "user": %.6f, "system": %.6f, "peak": %lld})"
                "\n",
                started, monotonicSeconds() - started, seconds(usage.ru_utime), seconds(usage.ru_stime),
                static_cast<long long>(usage.ru_maxrss) * 1024);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}
