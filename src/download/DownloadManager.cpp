#include "download/DownloadManager.h"

#include "download/DownloaderThread.h"

#include <QDebug>
#include <QFile>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QNetworkAccessManager>

namespace {

Q_LOGGING_CATEGORY(lcDownload, "fourfold.download", QtWarningMsg)

constexpr int inactivityLimit = 60000; // milliseconds

} // namespace

DownloadManager::DownloadManager(const Meta &meta_, const QString &filePath_, QObject *parent, void *tag_)
    : totalSize(meta_.getSize())
    , meta(meta_)
    , filePath(filePath_)
    , accessManager(new QNetworkAccessManager(parent))
    , tag(tag_)
{
    accessManager->setTransferTimeout(inactivityLimit);
    QFile file(filePath);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(totalSize))
        qCWarning(lcDownload) << "cannot make" << filePath << "-" << file.errorString();
}

DownloadManager::~DownloadManager()
{
    // The access object may be delivering the very signal that ends the download.
    if (accessManager)
        accessManager->deleteLater();
}

void DownloadManager::download()
{
    if (threadCount < 1)
        return;
    const int chunk = meta.getSize() / threadCount;
    for (int i = 0; i < threadCount; ++i) {
        const bool isLast = i == threadCount - 1;
        const int start = chunk * i;
        const int stop = isLast ? meta.getSize() : start + chunk;
        const int lastByte = isLast && meta.getSize() == 0 ? DownloaderThread::toEnd : stop - 1;
        auto *worker = new DownloaderThread(meta.getUrl(), filePath, start, lastByte, accessManager, this);
        if (totalSize > 0)
            worker->setStreamLength(totalSize);
        connect(worker, &DownloaderThread::progress, this, &DownloadManager::threadProgress);
        connect(worker, &DownloaderThread::downloadCompleted, this, &DownloadManager::threadFinished);
        worker->run();
        qDebug() << i << " " << chunk << " " << start << " " << stop - 1;
    }
}

void DownloadManager::threadProgress(qint64 delta)
{
    {
        const QMutexLocker locker(&mutex);
        receivedSize += delta;
    }
    emit progress(receivedSize, totalSize, tag);
}

void DownloadManager::threadFinished()
{
    {
        const QMutexLocker locker(&mutex);
        finishedCount += 1;
    }
    if (auto *worker = qobject_cast<DownloaderThread *>(sender())) {
        if (m_failure.isEmpty())
            m_failure = worker->failure();
        // Its file handle must be gone before the download is called complete.
        delete worker;
    }
    if (finishedCount == threadCount) {
        if (!m_failure.isEmpty())
            reportMissingBytes();
        emit downloadCompleted(tag);
    }
}

void DownloadManager::reportMissingBytes() const
{
    const QString missing =
        totalSize > 0 ? QString::number(totalSize - receivedSize) : QStringLiteral("an unknown number of");
    qCWarning(lcDownload).noquote()
        << QStringLiteral("%1 ended short: %2 bytes are missing: %3").arg(filePath, missing, m_failure);
}
