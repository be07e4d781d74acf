#include "DemoPages.h"

#include <algorithm>

#include <QJsonDocument>
#include <QStringList>
#include <QUrl>

namespace {

QByteArray head(const QString &title)
{
    return QStringLiteral(
               "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>%1</title>\n</head>\n")
        .arg(title.toHtmlEscaped())
        .toUtf8();
}

// Whole elements as far as they fit, blanks for the rest, no line end.
QByteArray padding(int bytes)
{
    const QByteArray opening = QByteArrayLiteral("<div hidden>");
    const QByteArray closing = QByteArrayLiteral("</div>");
    const QByteArray element = QByteArrayLiteral(
        "<span class=\"yt-thumb\" data-ytplayer=\"{&quot;config&quot;:null};\"><img alt=\"\" width=\"1\"></span>");
    const int room = bytes - opening.size() - closing.size();
    if (room < 0)
        return QByteArray(std::max(bytes, 0), ' ');
    return opening + element.repeated(room / element.size()) + QByteArray(room % element.size(), ' ') + closing;
}

// JSON as it stands inside a script element: nothing in it can end the element.
QByteArray scriptJson(const QJsonObject &object)
{
    QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    json.replace("&", "\\u0026");
    json.replace("<", "\\u003c");
    json.replace(">", "\\u003e");
    json.replace("/", "\\/");
    return json;
}

QByteArray playerLine(const QJsonObject &args, int paddingBytes)
{
    const QJsonObject config{
        {QStringLiteral("args"), args},
        {QStringLiteral("assets"), QJsonObject{{QStringLiteral("js"), QStringLiteral("/yts/jsbin/player/base.js")}}},
        {QStringLiteral("attrs"), QJsonObject{{QStringLiteral("id"), QStringLiteral("movie_player")}}},
        {QStringLiteral("html5"), true},
        {QStringLiteral("sts"), 17000},
    };
    return padding(paddingBytes / 2) + "<script>var ytplayer = ytplayer || {};ytplayer.config = " + scriptJson(config)
        + ";ytplayer.load = function() {yt.player.Application.create(\"player-api\", ytplayer.config);"
          "ytplayer.config.loaded = true;};(function() {if (!!window.yt && yt.player) {ytplayer.load();}}());</script>"
        + padding(paddingBytes - paddingBytes / 2) + '\n';
}

QByteArray watch(const QJsonObject &args, const QByteArray &sidebar, int paddingBytes)
{
    const QString title = args.value(QStringLiteral("title")).toString();
    return head(title) + "<body>\n<div id=\"player-api\"></div>\n" + playerLine(args, paddingBytes)
        + QStringLiteral("<h1>%1</h1>\n").arg(title.toHtmlEscaped()).toUtf8() + sidebar + "</body>\n</html>\n";
}

// The class always comes first; the other attributes come in a different order from row to row.
QByteArray openingTag(const QString &element, const QString &classes, QStringList attributes, int index)
{
    std::rotate(attributes.begin(), attributes.begin() + index % attributes.size(), attributes.end());
    return QStringLiteral("<%1 class=\"%2\" %3>\n").arg(element, classes, attributes.join(QLatin1Char(' '))).toUtf8();
}

QByteArray link(const DemoPages::Row &row, int index)
{
    const QString address = QStringLiteral("/watch?v=%1&index=%2&list=DEMO").arg(row.id, QString::number(index + 1));
    return QStringLiteral("<a href=\"%1\">%2</a>").arg(address.toHtmlEscaped(), row.title.toHtmlEscaped()).toUtf8();
}

QString qualityOf(int itag)
{
    switch (itag) {
    case 22:
        return QStringLiteral("hd720");
    case 18:
    case 43:
        return QStringLiteral("medium");
    default:
        return QStringLiteral("small");
    }
}

QString typeOf(int itag)
{
    switch (itag) {
    case 5:
        return QStringLiteral("video/x-flv");
    case 17:
    case 36:
        return QStringLiteral("video/3gpp; codecs=\"mp4v.20.3, mp4a.40.2\"");
    case 43:
        return QStringLiteral("video/webm; codecs=\"vp8.0, vorbis\"");
    default:
        return QStringLiteral("video/mp4; codecs=\"avc1.64001F, mp4a.40.2\"");
    }
}

} // namespace

QByteArray DemoPages::watchPage(const QJsonObject &args, int paddingBytes)
{
    return watch(args, {}, paddingBytes);
}

QByteArray DemoPages::watchPlaylistPage(const QJsonObject &args, const QList<Row> &rows, int paddingBytes)
{
    const QString playing = args.value(QStringLiteral("video_id")).toString();
    QByteArray list = QByteArrayLiteral("<ol id=\"playlist-autoscroll-list\">\n");
    int index = 0;
    for (const Row &row : rows) {
        const QString classes = QStringLiteral("yt-uix-scroller-scroll-unit ")
            % (row.id == playing ? QStringLiteral(" currently-playing") : QString());
        const QStringList attributes{
            QStringLiteral("data-index=\"%1\"").arg(index),
            QStringLiteral("data-video-id=\"%1\"").arg(row.id.toHtmlEscaped()),
            QStringLiteral("data-video-title=\"%1\"").arg(row.title.toHtmlEscaped()),
        };
        list += openingTag(QStringLiteral("li"), classes, attributes, index) + link(row, index) + "\n</li>\n";
        ++index;
    }
    return watch(args, list + "</ol>\n", paddingBytes);
}

QByteArray DemoPages::playlistPage(const QList<Row> &rows)
{
    QByteArray page = head(QStringLiteral("Playlist")) + "<body>\n<table id=\"pl-video-table\">\n<tbody>\n";
    int index = 0;
    for (const Row &row : rows) {
        const QStringList attributes{
            QStringLiteral("data-set-video-id=\"\""),
            QStringLiteral("data-video-id=\"%1\"").arg(row.id.toHtmlEscaped()),
            QStringLiteral("data-title=\"%1\"").arg(row.title.toHtmlEscaped()),
        };
        page += openingTag(QStringLiteral("tr"), QStringLiteral("pl-video yt-uix-tile "), attributes, index)
            + "<td class=\"pl-video-title\">\n" + link(row, index) + "\n</td>\n</tr>\n";
        ++index;
    }
    return page + "</tbody>\n</table>\n</body>\n</html>\n";
}

QByteArray DemoPages::plainPage(const QString &title, const QString &bodyHtml)
{
    return head(title) + "<body>\n" + bodyHtml.toUtf8() + "</body>\n</html>\n";
}

QString DemoPages::streamMap(const QList<QPair<int, QString>> &itagAndUrl)
{
    const auto encoded = [](const QString &text) { return QString::fromLatin1(QUrl::toPercentEncoding(text)); };
    QStringList entries;
    for (const auto &[itag, url] : itagAndUrl) {
        QStringList pairs{
            QStringLiteral("itag=") % QString::number(itag),       QStringLiteral("url=") % encoded(url),
            QStringLiteral("quality=") % qualityOf(itag),          QStringLiteral("type=") % encoded(typeOf(itag)),
            QStringLiteral("fallback_host=tc.cache.demo.example"),
        };
        std::rotate(pairs.begin(), pairs.begin() + entries.size() % pairs.size(), pairs.end());
        entries += pairs.join(QLatin1Char('&'));
    }
    return entries.join(QLatin1Char(','));
}
