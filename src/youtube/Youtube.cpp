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
    return qEnvironmentVariable("FOURFOLD_SITE", QStringLiteral("https://www.youtube.com"));
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

QString interruptedText()
{
    return NetworkManager::tr("The application is closing");
}

} // namespace

Youtube::Youtube() = default;

QString Youtube::downloadVideo(QUrl &url)
{
    const Page page = fetchPage(url);
    if (!page.error.isEmpty())
        return page.error;

    std::optional<QJsonObject> config = PlayerConfig::fromPage(page.body);
    if (!config) {
        emit videoDataNotFound();
        return {};
    }
    const VideoItem item(*config);
    if (NetworkManager::getInstance()->isInterrupted())
        return interruptedText();
    item.printInfo();
    emit videoDataDownloaded(item);
    return {};
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
        const Page watchPage = fetchPage(watchUrl);
        if (!watchPage.error.isEmpty())
            return watchPage.error;

        std::optional<QJsonObject> config = PlayerConfig::fromPage(watchPage.body);
        if (!config) {
            emit videoDataNotFound();
            return {};
        }
        const VideoItem item(*config);
        if (NetworkManager::getInstance()->isInterrupted())
            return interruptedText();
        item.printInfo();
        items.append(item);
        qDebug() << "VideoItem with video id :" << id << "fetched";
    }
    emit playlistDataDownloaded(items);
    return {};
}
