#include "utility/FolderReader.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace Utility {

namespace {

enum class Kind { Other, File, Folder };

// Asks the file system only where the listing itself does not tell.
Kind kindOf(DIR *dir, const dirent &entry)
{
    if (entry.d_type == DT_REG)
        return Kind::File;
    if (entry.d_type == DT_DIR)
        return Kind::Folder;
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return Kind::Other;

    struct stat target;
    if (fstatat(dirfd(dir), entry.d_name, &target, 0) != 0)
        return Kind::Other;
    if (S_ISDIR(target.st_mode))
        return Kind::Folder;
    return S_ISREG(target.st_mode) ? Kind::File : Kind::Other;
}

bool isHidden([[maybe_unused]] DIR *dir, const dirent &entry)
{
    if (entry.d_name[0] == '.')
        return true;
#ifdef Q_OS_MACOS
    // Here a flag hides a file as well as a dot does.
    struct stat own;
    return fstatat(dirfd(dir), entry.d_name, &own, AT_SYMLINK_NOFOLLOW) == 0 && (own.st_flags & UF_HIDDEN) != 0;
#else
    return false;
#endif
}

} // namespace

FolderReader::FolderReader(const QString &path)
    // As everywhere in Qt, no path is the current folder.
    : m_dir(opendir(path.isEmpty() ? "." : QFile::encodeName(path).constData()))
{
}

FolderReader::Identity FolderReader::identity() const
{
    struct stat own;
    if (!isOpen() || fstat(dirfd(m_dir.get()), &own) != 0)
        return {};
    return {own.st_dev, own.st_ino};
}

bool FolderReader::next(FolderEntry &entry)
{
    while (const dirent *raw = isOpen() ? readdir(m_dir.get()) : nullptr) {
        if (isHidden(m_dir.get(), *raw))
            continue;
        const Kind kind = kindOf(m_dir.get(), *raw);
        if (kind == Kind::Other)
            continue;

        entry.name = QFile::decodeName(raw->d_name);
        entry.isFolder = kind == Kind::Folder;
        // A name that does not survive the decoding leads to no file, so nobody could open what it stands for.
        if (!entry.name.contains(QChar::ReplacementCharacter) || QFile::encodeName(entry.name) == raw->d_name)
            return true;
    }
    return false;
}

} // namespace Utility
