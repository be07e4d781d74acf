#include "youtube/NetworkManager.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace {

constexpr int inactivityLimit = 60000; // milliseconds
// Thirty times the largest page of the site: somebody has pasted the address of a file, or a server never ends.
constexpr qint64 maximumPageSize = 32 * 1024 * 1024; // bytes
constexpr char tooLargeProperty[] = "fourfold-too-large";

} // namespace

NetworkManager *NetworkManager::getInstance()
{
    static NetworkManager manager;
    return &manager;
}

NetworkManager::NetworkManager()
{
    setInactivityLimit(inactivityLimit);
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { m_interrupted = false; });
}

QNetworkReply *NetworkManager::getWebPage(QUrl &url)
{
    QNetworkReply *reply = m_accessManager.get(QNetworkRequest(url));
    connect(reply, &QNetworkReply::readyRead, reply, [reply] {
        if (reply->bytesAvailable() > maximumPageSize) {
            reply->setProperty(tooLargeProperty, true);
            reply->abort();
        }
    });
    return waitFor(reply);
}

QNetworkReply *NetworkManager::head(QUrl &url)
{
    return waitFor(m_accessManager.head(QNetworkRequest(url)));
}

void NetworkManager::setInactivityLimit(int milliseconds)
{
    m_accessManager.setTransferTimeout(milliseconds);
}

QString NetworkManager::errorText(const QNetworkReply &reply)
{
    if (reply.property(tooLargeProperty).toBool())
        return tr("The page is too large");
    // A transfer timeout ends as a cancelled operation, and nothing else cancels an analysis request but a quit.
    if (reply.error() == QNetworkReply::OperationCanceledError)
        return tr("The server did not answer");
    return reply.errorString();
}

QNetworkReply *NetworkManager::waitFor(QNetworkReply *reply)
{
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    // Only the application's quit ends the loop before the reply.
    if (!reply->isFinished()) {
        m_interrupted = true;
        reply->abort();
    }
    return reply;
}
