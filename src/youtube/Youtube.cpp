#include "youtube/Youtube.h"

#include "youtube/NetworkManager.h"
#include "youtube/PlayerConfig.h"
#include "youtube/PlaylistRows.h"

#include <QDebug>
#include <QNetworkReply>
#include <QUrl>
#include <QUrlQuery>

#include <memory>

namespace {

// The demo site and the tests stand in for the site through the environment.
QString siteAddress()
{
    const QString replacement = qEnvironmentVariable("FOURFOLD_SITE");
    return replacement.isEmpty() ? QStringLiteral("https://www.youtube.com") : replacement;
}

struct Page
{
    QString error; // empty when the page came
    QByteArray body;
};

Page fetchPage(QUrl &url)
{
    const std::unique_ptr<QNetworkReply> reply(NetworkManager::getInstance()->getWebPage(url));
    if (reply->error() != QNetworkReply::NoError) {
        const QString error = NetworkManager::errorText(*reply);
        qDebug() << error;
        return {error, {}};
    }
    qDebug() << reply->rawHeaderPairs();
    return {{}, reply->readAll()};
}

} // namespace

Youtube::Youtube() = default;

std::optional<VideoItem> Youtube::analyseWatchPage(QUrl &url, QString &error)
{
    const Page page = fetchPage(url);
    error = page.error;
    if (!error.isEmpty())
        return std::nullopt;

    std::optional<QJsonObject> config = PlayerConfig::fromPage(page.body);
    if (!config) {
        emit videoDataNotFound();
        return std::nullopt;
    }
    VideoItem item(*config);
    if (NetworkManager::getInstance()->isInterrupted()) {
        error = NetworkManager::tr("The application is closing");
        return std::nullopt;
    }
    item.printInfo();
    return item;
}

QString Youtube::downloadVideo(QUrl &url)
{
    QString error;
    if (const std::optional<VideoItem> item = analyseWatchPage(url, error))
        emit videoDataDownloaded(*item);
    return error;
}

QString Youtube::downloadPlaylist(QUrl &url)
{
    const Page page = fetchPage(url);
    if (!page.error.isEmpty())
        return page.error;

    qDebug() << "List : " << QUrlQuery(url).queryItemValue(QStringLiteral("list"));
    const QStringList ids = PlaylistRows::videoIds(page.body, url);
    for (const QString &id : ids)
        qDebug() << "VideoItem id : " << id;
    qDebug() << "Total videos : " << ids.size();

    QVector<VideoItem> items;
    for (const QString &id : ids) {
        qDebug() << "Fetching info for video " << id;
        QUrl watchUrl(siteAddress() + QStringLiteral("/watch?v=") + id);
        QString error;
        const std::optional<VideoItem> item = analyseWatchPage(watchUrl, error);
        if (!item)
            return error;
        items.append(*item);
        qDebug() << "VideoItem with video id :" << id << " fetched";
    }
    emit playlistDataDownloaded(items);
    return {};
}
