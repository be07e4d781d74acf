#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

// Builds the site's HTML in the shapes that an analyser of such pages has to cope with.
namespace DemoPages {

struct Row
{
    QString id;
    QString title;
};

QByteArray page(const QString &title, const QString &bodyHtml);
// Puts the player configuration on one long line with about that many bytes of other markup around it, and the
// playlist, if any, below it.
QByteArray watchPage(const QJsonObject &args, const QList<Row> &playlist, int paddingBytes);
QByteArray playlistPage(const QList<Row> &rows);
QList<Row> numbered(const QStringList &ids);
QString streamMap(const QList<QPair<int, QString>> &itagAndUrl);

} // namespace DemoPages
