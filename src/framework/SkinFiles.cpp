#include "framework/SkinFiles.h"

#include "settings/CAppSetting.h"

#include <QCoreApplication>
#include <QImageReader>

QString skinFile(const QString &name)
{
    return CAppSetting::instance()->getSkinPath(false) + name;
}

QPixmap skinPixmap(const QString &name)
{
    const QString path = skinFile(name);
    // Only icons look for the file of twice the resolution by themselves.
    return QIcon(path).pixmap(QImageReader(path).size());
}

QIcon applicationIcon()
{
    return QIcon(QCoreApplication::applicationDirPath() + QStringLiteral("/icon/app.ico"));
}
