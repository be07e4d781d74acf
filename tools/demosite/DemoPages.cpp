#include "DemoPages.h"

#include <QJsonDocument>
#include <QUrl>

#include <algorithm>

namespace {

QString padding(int bytes)
{
    const QString element = QStringLiteral(
        R"(<span class="yt-thumb" data-ytplayer="{&quot;config&quot;:null};"><img alt="" width="1"></span>)");
    return element.repeated(bytes / element.size());
}

// JSON as it stands inside a script element: nothing in it can end the element.
QString scriptJson(const QJsonObject &object)
{
    QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    json.replace("&", "\\u0026").replace("<", "\\u003c").replace(">", "\\u003e").replace("/", "\\/");
    return QString::fromUtf8(json);
}

// An element with a link for each row: the class always comes first, the other attributes in changing order.
QString rowElements(const QList<DemoPages::Row> &rows, const QString &element, const QString &titleAttribute,
                    const QString &classes, const QString &playingId)
{
    QString html;
    for (int i = 0; i < rows.size(); ++i) {
        const QString id = rows.at(i).id.toHtmlEscaped();
        const QString title = rows.at(i).title.toHtmlEscaped();
        QStringList attributes{
            QStringLiteral("data-index=\"%1\"").arg(i),
            QStringLiteral("data-video-id=\"%1\"").arg(id),
            QStringLiteral("%1=\"%2\"").arg(titleAttribute, title),
        };
        std::rotate(attributes.begin(), attributes.begin() + i % attributes.size(), attributes.end());
        html +=
            QStringLiteral("<%1 class=\"%2 %3\" %4>\n<a href=\"/watch?v=%5&amp;list=DEMO\">%6</a>\n</%1>\n")
                .arg(element, classes, rows.at(i).id == playingId ? QStringLiteral(" currently-playing") : QString(),
                     attributes.join(QLatin1Char(' ')), id, title);
    }
    return html;
}

struct Stream
{
    int itag;
    const char *quality;
    const char *type;
};

constexpr Stream streams[] = {
    {22, "hd720", "video/mp4; codecs=\"avc1.64001F, mp4a.40.2\""},
    {18, "medium", "video/mp4; codecs=\"avc1.64001F, mp4a.40.2\""},
    {43, "medium", "video/webm; codecs=\"vp8.0, vorbis\""},
    {36, "small", "video/3gpp; codecs=\"mp4v.20.3, mp4a.40.2\""},
};

} // namespace

QByteArray DemoPages::page(const QString &title, const QString &bodyHtml)
{
    return QStringLiteral("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>%1</title>\n"
                          "</head>\n<body>\n%2</body>\n</html>\n")
        .arg(title.toHtmlEscaped(), bodyHtml)
        .toUtf8();
}

QByteArray DemoPages::watchPage(const QJsonObject &args, const QList<Row> &playlist, int paddingBytes)
{
    const QJsonObject config{{QStringLiteral("args"), args}, {QStringLiteral("sts"), 17000}};
    const QString id = args.value(QStringLiteral("video_id")).toString();
    const QString title = args.value(QStringLiteral("title")).toString();
    const QString rows = rowElements(playlist, QStringLiteral("li"), QStringLiteral("data-video-title"),
                                     QStringLiteral("yt-uix-scroller-scroll-unit"), id);
    const QString list = QStringLiteral("<ol id=\"playlist-autoscroll-list\">\n%1</ol>\n").arg(rows);
    const QString script = QStringLiteral("<script>var ytplayer = ytplayer || {};ytplayer.config = %1;ytplayer.load = "
                                          "function() {yt.player.Application.create(ytplayer.config);};</script>")
                               .arg(scriptJson(config));
    return page(
        title,
        QStringLiteral("<div id=\"player-api\"></div>\n%1%2%1\n<h1>%3</h1>\n%4")
            .arg(padding(paddingBytes / 2), script, title.toHtmlEscaped(), playlist.isEmpty() ? QString() : list));
}

QByteArray DemoPages::playlistPage(const QList<Row> &rows)
{
    return page(QStringLiteral("Playlist"),
                QStringLiteral("<table id=\"pl-video-table\">\n<tbody>\n%1</tbody>\n</table>\n")
                    .arg(rowElements(rows, QStringLiteral("tr"), QStringLiteral("data-title"),
                                     QStringLiteral("pl-video yt-uix-tile"), {})));
}

QList<DemoPages::Row> DemoPages::numbered(const QStringList &ids)
{
    QList<Row> rows;
    for (const QString &id : ids)
        rows.append({id, QStringLiteral("Video \"%1\" & more").arg(rows.size() + 1)});
    return rows;
}

QString DemoPages::streamMap(const QList<QPair<int, QString>> &itagAndUrl)
{
    const auto encoded = [](const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); };
    QStringList entries;
    for (const auto &[itag, url] : itagAndUrl) {
        const auto *known = std::begin(streams);
        while (known->itag != itag && known + 1 != std::end(streams))
            ++known;
        QStringList fields{
            QStringLiteral("itag=%1").arg(itag),
            QStringLiteral("url=") + encoded(url),
            QStringLiteral("quality=") + QLatin1String(known->quality),
            QStringLiteral("type=") + encoded(QLatin1String(known->type)),
            QStringLiteral("fallback_host=tc.cache.demo.example"),
        };
        std::rotate(fields.begin(), fields.begin() + entries.size() % fields.size(), fields.end());
        entries += fields.join(QLatin1Char('&'));
    }
    return entries.join(QLatin1Char(','));
}
