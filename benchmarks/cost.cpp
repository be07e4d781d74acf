// Runs a command and prints what it cost as the last line of its output: fourfold-cost [--file FILE] COMMAND
// [ARGUMENT]... With a file, which must not be there yet, also when its first bytes were written. A small program of
// its own, since a process counts the memory of the one that started it as its own peak.

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

int watchFolderOf(const std::string &file)
{
    const int changes = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    inotify_add_watch(changes, file.substr(0, file.rfind('/')).c_str(), IN_MODIFY);
    return changes;
}

bool holdsBytes(const char *file)
{
    struct stat state = {};
    return stat(file, &state) == 0 && state.st_blocks > 0;
}

bool hasEnded(pid_t process)
{
    siginfo_t info = {};
    return waitid(P_PID, id_t(process), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid == process;
}

// Waits until the file holds bytes, not only a length, or the process has ended; tells when that was.
double firstBytes(const char *file, int changes, pid_t process)
{
    constexpr int beat = 100; // milliseconds
    pollfd waited = {changes, POLLIN, 0};
    while (!holdsBytes(file) && !hasEnded(process)) {
        poll(&waited, 1, beat);
        char events[4096];
        while (read(changes, events, sizeof(events)) > 0) { }
    }
    const double now = monotonicSeconds();
    close(changes);
    return now;
}

} // namespace

int main(int argc, char *argv[])
{
    char **command = argv + 1;
    const char *file = nullptr;
    if (argc > 2 && std::strcmp(command[0], "--file") == 0) {
        file = command[1];
        command += 2;
    }
    if (!*command) {
        std::fputs("usage: fourfold-cost [--file FILE] COMMAND [ARGUMENT]...\n", stderr);
        return 2;
    }
    const int changes = file ? watchFolderOf(file) : -1;
    const double started = monotonicSeconds();
    pid_t child = 0;
    if (posix_spawnp(&child, command[0], nullptr, nullptr, command, environ) != 0) {
        std::perror(command[0]);
        return 127;
    }
    const double first = file ? firstBytes(file, changes, child) - started : 0;
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child)
        return 127;
    std::printf(R"({"started": %.6f, "first": %.6f, "wall": %.6f, "user": %.6f, "system": %.6f, "peak": %lld})"
                "\n",
                started, first, monotonicSeconds() - started, seconds(usage.ru_utime), seconds(usage.ru_stime),
                static_cast<long long>(usage.ru_maxrss) * 1024);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}
