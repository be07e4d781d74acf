#include "youtube/StreamHead.h"

#include "youtube/ContentLength.h"
#include "youtube/NetworkManager.h"

#include <QNetworkReply>
#include <QUrl>

#include <memory>

StreamHead StreamHead::ask(QString &address, const QVector<int> &redirectStatuses)
{
    StreamHead head;
    for (int redirects = 0;; ++redirects) {
        QUrl url(address);
        // Qt opens local addresses too, and would wait for ever for some of them.
        if (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https")) {
            head.error = NetworkManager::tr("The address is no web address");
            return head;
        }
        const std::unique_ptr<QNetworkReply> reply(NetworkManager::getInstance()->head(url));
        if (reply->error() != QNetworkReply::NoError) {
            head.error = NetworkManager::errorText(*reply);
            return head;
        }
        head.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (!redirectStatuses.contains(head.status)) {
            head.length = contentLength(*reply);
            return head;
        }
        if (redirects == maximumRedirects) {
            head.error = NetworkManager::tr("Too many redirects");
            return head;
        }
        address = QString::fromUtf8(reply->rawHeader("Location"));
    }
}
