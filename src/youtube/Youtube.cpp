#include "youtube/Youtube.h"

#include "youtube/NetworkManager.h"
#include "youtube/PlayerConfig.h"
#include "youtube/PlaylistRows.h"
#include "youtube/Site.h"

#include <QDebug>
#include <QNetworkReply>
#include <QUrl>
#include <QUrlQuery>

#include <memory>

namespace {

struct Page
{
    QString error; // empty when the page came
    QByteArray body;
};

enum class Headers { Written, Left };

Page fetchPage(QUrl &url, Headers headers)
{
    const std::unique_ptr<QNetworkReply> reply(NetworkManager::getInstance()->getWebPage(url));
    if (reply->error() != QNetworkReply::NoError) {
        const QString error = NetworkManager::errorText(*reply);
        qDebug() << error;
        return {error, {}};
    }
    if (headers == Headers::Written)
        qDebug() << reply->rawHeaderPairs();
    return {{}, reply->readAll()};
}

} // namespace

Youtube::Youtube() = default;

std::optional<VideoItem> Youtube::analyseWatchPage(const QByteArray &body, QString &error)
{
    std::optional<QJsonObject> config = PlayerConfig::fromPage(body);
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
    const Page page = fetchPage(url, Headers::Written);
    QString error = page.error;
    if (!error.isEmpty())
        return error;
    if (const std::optional<VideoItem> item = analyseWatchPage(page.body, error))
        emit videoDataDownloaded(*item);
    return error;
}

QString Youtube::downloadPlaylist(QUrl &url)
{
    const Page page = fetchPage(url, Headers::Written);
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
        QUrl watchUrl(Site::address() + QStringLiteral("/watch?v=") + id);
        const Page watchPage = fetchPage(watchUrl, Headers::Left);
        if (!watchPage.error.isEmpty())
            return watchPage.error;
        QString error;
        const std::optional<VideoItem> item = analyseWatchPage(watchPage.body, error);
        if (!item)
            return error;
        items.append(*item);
        qDebug() << "VideoItem with video id :" << id << " fetched";
    }
    emit playlistDataDownloaded(items);
    return {};
}
