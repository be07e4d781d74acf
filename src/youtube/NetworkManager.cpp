#include "youtube/NetworkManager.h"

#include "http/ContentDecoder.h"
#include "http/SpareDescriptors.h"
#include "youtube/FinishedReply.h"
#include "youtube/Site.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QFileInfo>
#include <QHstsPolicy>
#include <QNetworkRequest>

#include <memory>

namespace {

// Thirty times the largest page of the site: somebody has pasted the address of a file, or a server never ends.
constexpr int maximumPageSize = 32 * 1024 * 1024; // bytes
constexpr qint64 readBufferSize = 256 * 1024; // bytes

// A connection, and what the network's thread waits on.
constexpr int neededDescriptors = 1 + 2;

// Why a request would end, or hold up, the whole process; empty where it does not.
QString obstacleTo(const QUrl &url)
{
    // Qt reads local files, too, and waits for ever for a pipe.
    if (url.isLocalFile() && QFileInfo::exists(url.toLocalFile()) && !QFileInfo(url.toLocalFile()).isFile())
        return NetworkManager::tr("The address is no web address");
    return descriptorShortage(neededDescriptors);
}

} // namespace

NetworkManager *NetworkManager::getInstance()
{
    static NetworkManager manager;
    return &manager;
}

NetworkManager::NetworkManager()
{
    setInactivityLimit(inactivityLimit);
    // An address without a scheme is completed to http, which the site would answer with a redirect and no page.
    if (!Site::secureDomain().isEmpty()) {
        const QHstsPolicy secure(QDateTime::currentDateTimeUtc().addYears(10), QHstsPolicy::IncludeSubDomains,
                                 Site::secureDomain());
        m_accessManager.addStrictTransportSecurityHosts({secure});
        m_accessManager.setStrictTransportSecurityEnabled(true);
    }
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { m_interrupted = false; });
}

QNetworkReply *NetworkManager::getWebPage(QUrl &url)
{
    const QNetworkRequest plainRequest(url);
    const QString obstacle = obstacleTo(url);
    if (!obstacle.isEmpty())
        return new FinishedReply(plainRequest, QNetworkReply::UnknownNetworkError, obstacle);

    QNetworkRequest request(plainRequest);
    request.setRawHeader("Accept-Encoding", ContentDecoder::acceptEncoding);
    const std::unique_ptr<QNetworkReply> reply(m_accessManager.get(request));
    reply->setReadBufferSize(readBufferSize);
    ContentDecoder page(maximumPageSize);
    const auto read = [&page, &reply] {
        // Piece by piece: a local file is all there at once.
        while (reply->isOpen() && reply->bytesAvailable() > 0 && !page.isTooLarge())
            page.add(reply->read(readBufferSize), reply->rawHeader("Content-Encoding"));
        if (page.isTooLarge())
            reply->abort();
    };
    connect(reply.get(), &QNetworkReply::readyRead, reply.get(), read);
    waitFor(*reply);
    read();

    auto *finished = new FinishedReply(plainRequest, *reply, page.body());
    if (page.isTooLarge())
        finished->setError(QNetworkReply::UnknownContentError, tr("The page is too large"));
    else if (!page.isWhole() && reply->error() == QNetworkReply::NoError)
        finished->setError(QNetworkReply::ProtocolFailure, tr("The page is in no encoding that can be read"));
    return finished;
}

QNetworkReply *NetworkManager::head(QUrl &url)
{
    const QNetworkRequest request(url);
    const QString obstacle = obstacleTo(url);
    if (!obstacle.isEmpty())
        return new FinishedReply(request, QNetworkReply::UnknownNetworkError, obstacle);

    QNetworkReply *reply = m_accessManager.head(request);
    waitFor(*reply);
    return reply;
}

void NetworkManager::setInactivityLimit(int milliseconds)
{
    m_accessManager.setTransferTimeout(milliseconds);
}

QString NetworkManager::errorText(const QNetworkReply &reply)
{
    // A transfer timeout ends as a cancelled operation, and nothing else cancels an analysis request but a quit.
    if (reply.error() == QNetworkReply::OperationCanceledError)
        return tr("The server did not answer");
    return reply.errorString();
}

void NetworkManager::waitFor(QNetworkReply &reply)
{
    QEventLoop loop;
    connect(&reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply.isFinished())
        loop.exec();
    // Only the application's quit ends the loop before the reply.
    if (!reply.isFinished()) {
        m_interrupted = true;
        reply.abort();
    }
}
