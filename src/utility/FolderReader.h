#pragma once

#include <QString>

#include <dirent.h>
#include <sys/types.h>

#include <memory>

namespace Utility {

struct FolderEntry
{
    QString name;
    bool isFolder = false;
};

// Reads one folder entry by entry, in the order of the file system. It yields regular files and folders, also through
// symbolic links; hidden entries, dangling links, devices and undecodable names are left out. A folder that is missing,
// unreadable or removed meanwhile reads as an empty one.
class FolderReader final
{
    Q_DISABLE_COPY_MOVE(FolderReader)

public:
    explicit FolderReader(const QString &path);
    ~FolderReader() = default;

    // Tells folders apart whatever path leads to them.
    struct Identity
    {
        dev_t device = 0;
        ino_t inode = 0;
        bool operator==(const Identity &other) const { return device == other.device && inode == other.inode; }
    };

    bool isOpen() const { return m_dir != nullptr; }
    Identity identity() const;
    bool next(FolderEntry &entry);

private:
    struct Closer
    {
        void operator()(DIR *dir) const { closedir(dir); }
    };

    std::unique_ptr<DIR, Closer> m_dir;
};

} // namespace Utility
