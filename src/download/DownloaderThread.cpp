#include "download/DownloaderThread.h"

#include "download/ContentRange.h"

#include <QDebug>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <algorithm>
#include <array>

namespace {

// Without a limit a reply takes in whatever the network brings, up to the whole stream.
constexpr qint64 readBufferSize = 256 * 1024;
constexpr qint64 bytesPerTurn = 64 * 1024;
constexpr int maximumFruitlessRequests = 3;

} // namespace

DownloaderThread::DownloaderThread(const QString &url_, const QString &filePath_, int startPos_, int endPos_,
                                   QNetworkAccessManager *accessManager_, QObject *parent)
    : QObject(parent)
    , url(url_)
    , filePath(filePath_)
    , startPos(startPos_)
    , endPos(endPos_)
    , accessManager(accessManager_)
    , m_position(startPos_)
{
}

DownloaderThread::~DownloaderThread()
{
    releaseReply();
}

void DownloaderThread::run()
{
    qDebug() << "Thread started";
    file = std::make_unique<QFile>(filePath);
    // Write-only alone would empty the file; unbuffered, a full disk shows in the write that meets it.
    if (m_failure.isEmpty()
        && (!file->open(QIODevice::ReadWrite | QIODevice::ExistingOnly | QIODevice::Unbuffered)
            || !file->seek(startPos)))
        m_failure = file->errorString();
    if (!m_failure.isEmpty() || isWhole()) {
        QMetaObject::invokeMethod(this, &DownloaderThread::end, Qt::QueuedConnection);
        return;
    }
    sendRequest();
}

void DownloaderThread::sendRequest()
{
    QNetworkRequest request{QUrl(url)};
    const QString last = endPos == toEnd ? QString() : QString::number(endPos);
    request.setRawHeader("Range", QStringLiteral("bytes=%1-%2").arg(QString::number(m_position), last).toLatin1());
    qDebug() << request.rawHeaderList();

    m_answer = Answer::Awaited;
    m_positionAtRequest = m_position;
    m_reply = accessManager->get(request);
    qDebug() << m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    m_reply->setReadBufferSize(readBufferSize);
    connect(m_reply, &QNetworkReply::readyRead, this, &DownloaderThread::dataReceived);
    connect(m_reply, &QNetworkReply::finished, this, &DownloaderThread::finished);
    connect(m_reply, &QNetworkReply::downloadProgress, this, &DownloaderThread::downloadProgress);
}

void DownloaderThread::dataReceived()
{
    qDebug() << "Data read :" << m_reply->bytesAvailable();
    // Arrivals are posted events, of which one turn of the event loop takes as many as come; a slow disk must not keep
    // everything else waiting for them.
    if (!m_storing.isActive())
        m_storing.start(0, this);
}

void DownloaderThread::timerEvent(QTimerEvent * /*event*/)
{
    if (!m_reply) {
        m_storing.stop();
        return;
    }
    storeAvailable(bytesPerTurn);
    if (isWhole() || m_answer == Answer::Refused || m_reply->bytesAvailable() == 0)
        m_storing.stop();
    // Next turn: mostly the reply has finished of itself by then and need not be aborted.
    if (isWhole() || m_answer == Answer::Refused)
        QMetaObject::invokeMethod(this, &DownloaderThread::end, Qt::QueuedConnection);
}

void DownloaderThread::downloadProgress(qint64 /*bytesReceived*/, qint64 /*bytesTotal*/)
{
    reportProgress();
}

void DownloaderThread::finished()
{
    storeAvailable(std::numeric_limits<qint64>::max());
    const bool isCutOff = m_reply->error() != QNetworkReply::NoError;
    // An open-ended range of a stream of unknown length is whole when its answer ended well.
    if (endPos == toEnd && !isCutOff && m_answer == Answer::Accepted && !m_streamLength)
        m_streamLength = m_position;
    if (isWhole() || m_answer == Answer::Refused) {
        end();
        return;
    }

    m_fruitlessRequests = m_position > m_positionAtRequest ? 0 : m_fruitlessRequests + 1;
    if (m_fruitlessRequests == maximumFruitlessRequests) {
        m_failure = requestFailure();
        end();
        return;
    }
    releaseReply();
    sendRequest();
}

QString DownloaderThread::requestFailure() const
{
    switch (m_reply->error()) {
    case QNetworkReply::NoError:
        return tr("The server sent less than was asked for");
    case QNetworkReply::OperationCanceledError:
        // How a transfer timeout ends.
        return tr("The server did not answer");
    default:
        return m_reply->errorString();
    }
}

void DownloaderThread::storeAvailable(qint64 atMost)
{
    if (m_answer == Answer::Awaited)
        judgeAnswer();

    std::array<char, 64 * 1024> buffer;
    while (m_answer == Answer::Accepted && !isWhole() && m_reply->bytesAvailable() > 0 && atMost > 0) {
        const qint64 count = m_reply->read(buffer.data(), buffer.size());
        atMost -= count;
        const qint64 skipped = std::min(count, m_bytesToSkip);
        m_bytesToSkip -= skipped;
        if (!write(buffer.data() + skipped, std::min(count - skipped, missing())))
            refuse(file->errorString());
    }
}

bool DownloaderThread::write(const char *bytes, qint64 count)
{
    // A full disk may take a part before it refuses the rest.
    while (count > 0) {
        const qint64 written = file->write(bytes, count);
        if (written <= 0)
            return false;
        m_position += written;
        bytes += written;
        count -= written;
    }
    return true;
}

void DownloaderThread::judgeAnswer()
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0) {
        // Bytes without a status come from no HTTP server.
        if (m_reply->bytesAvailable() > 0)
            refuse(tr("The address is no web address"));
        return;
    }

    const std::optional<ContentRange> range = ContentRange::parse(m_reply->rawHeader("Content-Range"));
    const QByteArray encoding = m_reply->rawHeader("Content-Encoding").trimmed().toLower();
    if (status == 416 && endPos == toEnd && range && range->total == m_position) {
        m_streamLength = m_position;
        return;
    }
    if (status != 200 && status != 206) {
        const QString phrase = m_reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString().left(100);
        refuse(tr("The server answered %1 %2").arg(QString::number(status), phrase).trimmed());
        return;
    }
    if (!encoding.isEmpty() && encoding != "identity") {
        refuse(tr("The server sent the stream in an encoding that cannot be split"));
        return;
    }

    std::optional<qint64> streamLength;
    if (status == 206) {
        if (!range || range->first != m_position) {
            refuse(tr("The server sent another part of the stream than was asked for"));
            return;
        }
        m_bytesToSkip = 0;
        streamLength = range->total;
    } else {
        m_bytesToSkip = m_position;
        bool isNumber = false;
        const qint64 length = m_reply->rawHeader("Content-Length").trimmed().toLongLong(&isNumber);
        if (isNumber && length >= 0)
            streamLength = length;
    }
    if (streamLength && *streamLength != m_streamLength.value_or(*streamLength)) {
        refuse(tr("The stream on the server has changed"));
        return;
    }
    if (streamLength)
        m_streamLength = streamLength;
    m_answer = Answer::Accepted;
}

void DownloaderThread::refuse(const QString &reason)
{
    m_answer = Answer::Refused;
    m_failure = reason;
}

qint64 DownloaderThread::missing() const
{
    if (endPos != toEnd)
        return std::max<qint64>(0, qint64(endPos) + 1 - m_position);
    return m_streamLength ? std::max<qint64>(0, *m_streamLength - m_position) : std::numeric_limits<qint64>::max();
}

void DownloaderThread::releaseReply()
{
    m_storing.stop();
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    m_reply = nullptr;
}

void DownloaderThread::reportProgress()
{
    const qint64 received = m_position - startPos;
    const qint64 delta = received - lastReceived;
    lastReceived = received;
    if (delta > 0)
        emit progress(delta);
}

void DownloaderThread::end()
{
    if (m_hasEnded)
        return;
    m_hasEnded = true;
    releaseReply();
    if (file->isOpen() && !file->flush() && m_failure.isEmpty())
        m_failure = file->errorString();
    file->close();
    reportProgress();
    emit downloadCompleted();
}
