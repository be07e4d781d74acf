#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QString>

// Builds the site's HTML in the shapes that an analyser of such pages has to cope with.
namespace DemoPages {

struct Row
{
    QString id;
    QString title;
};

// Puts the player configuration on one long line with that many bytes of other markup around it.
QByteArray watchPage(const QJsonObject &args, int paddingBytes);
QByteArray watchPlaylistPage(const QJsonObject &args, const QList<Row> &rows, int paddingBytes);
QByteArray playlistPage(const QList<Row> &rows);
QByteArray plainPage(const QString &title, const QString &bodyHtml);
QString streamMap(const QList<QPair<int, QString>> &itagAndUrl);

} // namespace DemoPages
