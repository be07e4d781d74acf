#include "app/Skin.h"

#include "framework/SkinFiles.h"

#include <QApplication>
#include <QFile>
#include <QPalette>
#include <QResource>

namespace Skin {

void registerResource()
{
    QResource::registerResource(QCoreApplication::applicationDirPath() + QStringLiteral("/skin.rcc"));
}

void applyStyleSheet()
{
    QFile file(skinFile(QStringLiteral("skin.css")));
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly))
        bytes = file.readAll();
    // The one colour that a style sheet cannot give: links in labels.
    if (!bytes.isEmpty()) {
        QPalette palette = QApplication::palette();
        palette.setColor(QPalette::Link, QColor(0x0f, 0x6b, 0x6b));
        QApplication::setPalette(palette);
    }
    // A zero byte ends the sheet.
    qApp->setStyleSheet(QString::fromUtf8(bytes.constData()));
}

} // namespace Skin
