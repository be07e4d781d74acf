#include "app/InstanceFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/un.h>
#include <unistd.h>

namespace {

// Qt makes a socket in a temporary folder beside it first.
const QLatin1String detour("/XXXXXX/");

bool fits(const QString &folder, int nameLength)
{
    const int longest = sizeof(sockaddr_un::sun_path) - 1;
    return QFile::encodeName(folder).size() + detour.size() + nameLength <= longest;
}

// Somebody else may have taken the name in a folder that everybody can write to.
bool isOwn(const QString &folder)
{
    const QFileInfo info(folder);
    return info.isDir() && !info.isSymLink() && info.ownerId() == ::getuid()
        && QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

QString instanceFolder(int nameLength)
{
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    const QString user = QString::number(::getuid());
    if (!runtime.isEmpty() && fits(runtime, nameLength) && QFileInfo(runtime).isWritable())
        return runtime;
    const QStringList folders{cache + QStringLiteral("/fourfold"),
                              QDir::tempPath() + QStringLiteral("/fourfold-") + user,
                              QStringLiteral("/tmp/fourfold-") + user};
    for (const QString &folder : folders) {
        if (fits(folder, nameLength) && QDir().mkpath(folder) && isOwn(folder))
            return folder;
    }
    return {};
}
