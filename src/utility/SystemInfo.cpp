#include "utility/SystemInfo.h"

#include <QOperatingSystemVersion>
#include <QStandardPaths>
#include <QStringList>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace Utility {

namespace {

const QString homeFolder = QStandardPaths::writableLocation(QStandardPaths::HomeLocation);

// Qt's own count of the versions ended with 10.15; what it cannot name has always been 0.
unsigned int macintoshVersion()
{
    const QOperatingSystemVersion system = QOperatingSystemVersion::current();
    const bool counted = system.type() == QOperatingSystemVersion::MacOS && system.majorVersion() == 10;
    return counted ? static_cast<unsigned int>(system.minorVersion()) + 2 : 0;
}

} // namespace

bool SystemInfo::isMac10_8()
{
    return isMac10_8(macintoshVersion());
}

bool SystemInfo::isMac10_8(unsigned int macintoshVersion)
{
    // Unsigned on purpose: the unknown 0 wraps to the largest number.
    return macintoshVersion - 1 > 8;
}

std::string SystemInfo::FindMaxSizeDisk()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    // Only the folder of the name is used and no file is ever made from it, so the race that linkers warn of cannot
    // happen.
    const std::unique_ptr<char, decltype(&std::free)> name(tempnam(nullptr, "tmpf"), &std::free);
    QT_WARNING_POP
    return FolderOfTemporaryName(name.get());
}

std::string SystemInfo::FolderOfTemporaryName(const char *name)
{
    if (!name)
        return homeFolder.toStdString();

    QStringList parts = QString::fromLocal8Bit(name).split(QLatin1Char('/'));
    parts.removeLast();
    QString folder;
    for (const QString &part : qAsConst(parts))
        folder += QLatin1Char('/') + part;
    folder += QLatin1Char('/');
    return folder.toStdString();
}

std::string SystemInfo::AddBackslash(const std::string &path)
{
    std::string folder = path;
    if (!folder.empty() && (folder.back() == '/' || folder.back() == '\\'))
        folder.pop_back();
    return folder + '/';
}

} // namespace Utility
