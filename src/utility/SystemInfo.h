#pragma once

#include <QtGlobal>

#include <string>

namespace Utility {

// Questions about the running system. No state; any thread. Texts are UTF-8.
class SystemInfo
{
public:
    SystemInfo() = delete;

    static bool isWindowsXp() { return false; }
    static bool isVista() { return false; }
    static bool isWindows7() { return false; }
    static bool isWindows8() { return false; }

    // True from macOS 10.8 on, and where the version is unknown.
    static bool isMac10_8();
    // The same for a version number in Qt's count: 10.7 is 9, 10.8 is 10, unknown is 0.
    static bool isMac10_8(unsigned int macintoshVersion);

    // The folder in which the system would put a temporary file.
    static std::string FindMaxSizeDisk();
    // The folder part of a temporary name in the local encoding, one "/" before each of its parts and one at its end;
    // the home folder where there is no name.
    static std::string FolderOfTemporaryName(const char *name);

    // The path ending in exactly one "/" in place of its last slash or backslash, if any.
    static std::string AddBackslash(const std::string &path);
};

} // namespace Utility
