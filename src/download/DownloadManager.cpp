#include "download/DownloadManager.h"

#include "download/DownloaderThread.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QNetworkAccessManager>

#include <array>

namespace {

Q_LOGGING_CATEGORY(lcDownload, "fourfold.download", QtWarningMsg)

constexpr int inactivityLimit = 60000; // milliseconds

// Why the file cannot be opened as often as a download needs descriptors; empty when it can. The network's new thread
// would end the whole process where it finds none left.
QString obstacleTo(const QString &filePath)
{
    std::array<QFile, 16> trials;
    for (QFile &trial : trials) {
        trial.setFileName(filePath);
        if (!trial.open(QIODevice::ReadOnly))
            return trial.errorString();
    }
    return {};
}

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
    const QString obstacle = obstacleTo(filePath);
    const int chunk = meta.getSize() / threadCount;
    for (int i = 0; i < threadCount; ++i) {
        const bool isLast = i == threadCount - 1;
        const int start = chunk * i;
        const int stop = isLast ? meta.getSize() : start + chunk;
        const int lastByte = isLast && meta.getSize() == 0 ? DownloaderThread::toEnd : stop - 1;
        auto *worker = new DownloaderThread(meta.getUrl(), filePath, start, lastByte, accessManager, this);
        if (totalSize > 0)
            worker->setStreamLength(totalSize);
        if (!obstacle.isEmpty())
            worker->refuse(obstacle);
        connect(worker, &DownloaderThread::progress, this, &DownloadManager::threadProgress);
        connect(worker, &DownloaderThread::downloadCompleted, this, &DownloadManager::threadFinished);
        worker->run();
        qDebug().nospace() << i << " " << chunk << " " << start << " " << stop - 1;
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
        qint64 missingSize = totalSize - receivedSize;
        // Open files outlive their names, so the workers have not noticed.
        if (m_failure.isEmpty() && !QFileInfo::exists(filePath)) {
            m_failure = tr("The file was moved or removed");
            missingSize = totalSize;
        }
        if (!m_failure.isEmpty())
            warnOfMissing(missingSize);
        emit downloadCompleted(tag);
    }
}

void DownloadManager::warnOfMissing(qint64 bytes) const
{
    const QString missing = totalSize > 0 ? QString::number(bytes) : QStringLiteral("an unknown number of");
    qCWarning(lcDownload).noquote()
        << QStringLiteral("%1 ended short: %2 bytes are missing: %3").arg(filePath, missing, m_failure);
}
