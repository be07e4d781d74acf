#pragma once

#include <QString>

#include <sys/types.h>

#include <optional>

// Which file has a name, whatever the name: what stands behind an open file may have been moved, replaced or cut since.
struct FileIdentity
{
    dev_t device = 0;
    ino_t inode = 0;
    qint64 length = 0; // bytes

    // Nothing where there is no such file.
    [[nodiscard]] static std::optional<FileIdentity> of(const QString &path);

    [[nodiscard]] bool isSameFile(const FileIdentity &other) const
    {
        return device == other.device && inode == other.inode;
    }
};
