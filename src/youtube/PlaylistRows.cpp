#include "youtube/PlaylistRows.h"

#include "youtube/PlayerConfig.h"

#include <QRegularExpression>
#include <QUrl>

namespace PlaylistRows {

QStringList videoIds(const QByteArray &body, const QUrl &address)
{
    static const QRegularExpression listItem(QStringLiteral("<li class=\"yt-uix-scroller-scroll-unit.*>"));
    static const QRegularExpression tableRow(QStringLiteral("<tr class=\"pl-video yt-uix-tile.*>"));
    static const QRegularExpression videoId(QStringLiteral("data-video-id=\"(.*?)\""));

    const bool isWatchPage = address.fileName(QUrl::FullyDecoded) == QLatin1String("watch");
    QString text = PlayerConfig::pageText(body);
    text.replace(QStringLiteral("&amp;"), QStringLiteral("&"));

    QStringList ids;
    auto rows = (isWatchPage ? listItem : tableRow).globalMatch(text);
    while (rows.hasNext())
        ids.append(videoId.match(rows.next().captured()).captured(1));
    return ids;
}

} // namespace PlaylistRows
