#include "download/DownloadManager.h"

#include "download/DownloaderThread.h"
#include "http/SpareDescriptors.h"
#include "youtube/NetworkManager.h"

#include <QDebug>
#include <QFile>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QNetworkAccessManager>

#include <algorithm>

namespace {

Q_LOGGING_CATEGORY(lcDownload, "fourfold.download", QtWarningMsg)

// A file handle and a connection for each range, and what the network's thread waits on.
constexpr int neededDescriptors = 4 + 4 + 2;

QString changedByOthers()
{
    return DownloadManager::tr("Another program has changed the file");
}

} // namespace

DownloadManager::DownloadManager(const Meta &meta_, const QString &filePath_, QObject *parent, void *tag_)
    : totalSize(meta_.getSize())
    , meta(meta_)
    , filePath(filePath_)
    , accessManager(new QNetworkAccessManager(parent))
    , tag(tag_)
    , m_length(std::make_shared<RangeAnswer::Known>())
    , m_obstacle(descriptorShortage(neededDescriptors))
{
    accessManager->setTransferTimeout(NetworkManager::inactivityLimit);
    if (totalSize > 0)
        m_length->probed = totalSize;
    // What is there stays as it is when nothing can be asked for.
    if (!m_obstacle.isEmpty())
        return;
    QFile file(filePath);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(totalSize))
        qCWarning(lcDownload) << "cannot make" << filePath << "-" << file.errorString();
    m_file = FileIdentity::of(filePath);
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
        worker->shareLength(m_length);
        if (!m_obstacle.isEmpty())
            worker->refuse(m_obstacle);
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
    checkLength();
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
        checkLength();
        // Its file handle must be gone before the download is called complete.
        delete worker;
    }
    if (finishedCount == threadCount) {
        if (m_failure.isEmpty())
            m_failure = lateFailure();
        if (!m_failure.isEmpty())
            warnOfMissing();
        emit downloadCompleted(tag);
    }
}

// Looked at while it runs: the last range would stretch a file that was cut to its full length again.
void DownloadManager::checkLength()
{
    const std::optional<FileIdentity> file = FileIdentity::of(filePath);
    const bool wasMade = m_file && m_file->length == totalSize;
    if (m_failure.isEmpty() && totalSize > 0 && wasMade && file && file->length != totalSize)
        m_failure = changedByOthers();
}

QString DownloadManager::lateFailure() const
{
    if (m_length->probed && m_length->told && *m_length->told != *m_length->probed)
        return tr("The stream on the server has another length than before");
    // Open files outlive their names, so the workers have not noticed what befell theirs.
    const std::optional<FileIdentity> file = FileIdentity::of(filePath);
    if (!file)
        return tr("The file was moved or removed");
    if (!m_file || !file->isSameFile(*m_file) || file->length != (totalSize > 0 ? totalSize : receivedSize))
        return changedByOthers();
    return {};
}

void DownloadManager::warnOfMissing() const
{
    const std::optional<qint64> length = m_length->told ? m_length->told : m_length->probed;
    const QString missing =
        length ? QString::number(std::max<qint64>(0, *length - receivedSize)) : QStringLiteral("an unknown number of");
    qCWarning(lcDownload).noquote()
        << QStringLiteral("%1 ended short: %2 bytes are missing: %3").arg(filePath, missing, m_failure);
}
