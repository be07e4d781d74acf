#include "download/FileIdentity.h"

#include <QFile>

#include <sys/stat.h>

std::optional<FileIdentity> FileIdentity::of(const QString &path)
{
    struct stat file;
    if (::stat(QFile::encodeName(path).constData(), &file) != 0)
        return std::nullopt;
    return FileIdentity{file.st_dev, file.st_ino, file.st_size};
}
