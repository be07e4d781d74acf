// Preloaded into the application, ends it with SIGKILL while it saves its options: FOURFOLD_KILL_AT names the call, at
// which the saved text is half written ("write") or complete but not yet in its place ("rename").

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

bool killsAt(const char *call)
{
    const char *wish = std::getenv("FOURFOLD_KILL_AT");
    return wish && std::strcmp(wish, call) == 0;
}

} // namespace

extern "C" ssize_t write(int descriptor, const void *bytes, size_t count)
{
    if (killsAt("write") && ::memmem(bytes, count, "windowSize=", 11)) {
        ::syscall(SYS_write, descriptor, bytes, count / 2);
        ::kill(::getpid(), SIGKILL);
    }
    return ::syscall(SYS_write, descriptor, bytes, count);
}

extern "C" int rename(const char *from, const char *to) noexcept
{
    if (killsAt("rename") && std::strstr(to, "User.dat"))
        ::kill(::getpid(), SIGKILL);
    return static_cast<int>(::syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}
