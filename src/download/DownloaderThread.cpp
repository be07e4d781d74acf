#include "download/DownloaderThread.h"

#include "download/AnswerHead.h"
#include "download/RangeFile.h"
#include "http/ContentDecoder.h"
#include "youtube/NetworkManager.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimerEvent>

#include <algorithm>
#include <array>

namespace {

// Without a limit a reply takes in whatever comes. Over https, Qt decrypts into a buffer of its own of 64 KiB: with the
// same limit here, that many bytes come at once and not one small piece after another.
constexpr qint64 readBufferSize = 256 * 1024; // bytes
constexpr qint64 secureReadBufferSize = 64 * 1024; // bytes
constexpr qint64 bytesPerTurn = 64 * 1024;
constexpr int reportInterval = 100; // milliseconds
constexpr int maximumFruitlessRequests = 3;
// Before the last of them: a server that starts anew refuses two within the same millisecond.
constexpr int retryPause = 2000; // milliseconds

// The beats of all ranges of all downloads fall together: whoever shows them paints once for all.
int untilNextBeat()
{
    return reportInterval - static_cast<int>(QDeadlineTimer::current().deadline() % reportInterval);
}

} // namespace

DownloaderThread::DownloaderThread(const QString &url_, const QString &filePath, int startPos_, int endPos_,
                                   QNetworkAccessManager *accessManager_, QObject *parent)
    : QObject(parent)
    , url(url_)
    , startPos(startPos_)
    , endPos(endPos_)
    , file(std::make_unique<RangeFile>(filePath, startPos_))
    , accessManager(accessManager_)
    , m_length(std::make_shared<RangeAnswer::Known>())
{
}

DownloaderThread::~DownloaderThread()
{
    releaseReply();
}

void DownloaderThread::run()
{
    qDebug() << "Thread started";
    if (m_failure.isEmpty() && !file->open())
        m_failure = file->error();
    if (!m_failure.isEmpty() || isWhole()) {
        QMetaObject::invokeMethod(this, &DownloaderThread::end, Qt::QueuedConnection);
        return;
    }
    sendRequest();
}

void DownloaderThread::sendRequest()
{
    m_pause.stop();
    QNetworkRequest request{QUrl(url)};
    const QString last = endPos == toEnd ? QString() : QString::number(endPos);
    request.setRawHeader("Range",
                         QStringLiteral("bytes=%1-%2").arg(QString::number(file->position()), last).toLatin1());
    qDebug() << request.rawHeaderList();
    // Otherwise Qt says the same by itself and unpacks whatever comes, before anybody could refuse it.
    request.setRawHeader("Accept-Encoding", ContentDecoder::acceptEncoding);

    m_answer = Answer::Awaited;
    m_positionAtRequest = file->position();
    m_reply = accessManager->get(request);
    qDebug() << m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool isSecure = m_reply->url().scheme() == QLatin1String("https");
    m_reply->setReadBufferSize(isSecure ? secureReadBufferSize : readBufferSize);
    connect(m_reply, &QNetworkReply::readyRead, this, &DownloaderThread::dataReceived);
    connect(m_reply, &QNetworkReply::finished, this, &DownloaderThread::finished);
    // The reply's own report counts bytes that stay out of the file, and keeps the last ones before a stall to itself.
}

void DownloaderThread::dataReceived()
{
    if (!m_reply)
        return;
    qDebug() << "Data read :" << m_reply->bytesAvailable();
    // Arrivals are posted events, of which one turn of the event loop takes as many as come; a slow disk must not keep
    // everything else waiting for them.
    if (!m_storing.isActive())
        m_storing.start(0, this);
}

void DownloaderThread::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_storing.timerId())
        storeTurn();
    else if (event->timerId() == m_report.timerId())
        reportProgress();
    else
        sendRequest();
}

void DownloaderThread::storeTurn()
{
    if (!m_reply) {
        m_storing.stop();
        return;
    }
    storeAvailable(bytesPerTurn);
    const bool isOver = isWhole() || m_answer == Answer::Refused;
    if (isOver || m_reply->bytesAvailable() == 0)
        m_storing.stop();
    // Next turn: mostly the reply has finished of itself by then and need not be aborted.
    if (isOver)
        QMetaObject::invokeMethod(this, &DownloaderThread::end, Qt::QueuedConnection);
}

void DownloaderThread::downloadProgress(qint64 bytesReceived, qint64 /*bytesTotal*/)
{
    const qint64 delta = bytesReceived - lastReceived;
    lastReceived = bytesReceived;
    emit progress(delta);
}

void DownloaderThread::finished()
{
    if (!m_reply || !m_reply->isFinished()) {
        end();
        return;
    }
    storeAvailable(std::numeric_limits<qint64>::max());
    const bool isCutOff = m_reply->error() != QNetworkReply::NoError;
    // An open-ended range of a stream of unknown length is whole when its answer ended well.
    if (endPos == toEnd && !isCutOff && m_answer == Answer::Accepted && !m_length->told && !m_mayGoOn)
        m_length->told = file->position();
    if (isWhole() || m_answer == Answer::Refused) {
        end();
        return;
    }

    m_fruitlessRequests = file->position() > m_positionAtRequest ? 0 : m_fruitlessRequests + 1;
    if (m_fruitlessRequests == maximumFruitlessRequests) {
        m_failure = isCutOff ? NetworkManager::errorText(*m_reply) : tr("The server sent less than was asked for");
        end();
        return;
    }
    releaseReply();
    if (m_fruitlessRequests < maximumFruitlessRequests - 1)
        sendRequest();
    else
        m_pause.start(retryPause, this);
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
        if (!file->write(buffer.data() + skipped, std::min(count - skipped, missing())))
            refuse(file->error());
        if (!m_report.isActive())
            m_report.start(untilNextBeat(), Qt::PreciseTimer, this);
    }
}

void DownloaderThread::judgeAnswer()
{
    const RangeAnswer::Head head = answerHead(*m_reply);
    if (head.status == 0) {
        // Bytes without a status come from no HTTP server.
        if (m_reply->bytesAvailable() > 0)
            refuse(tr("The address is no web address"));
        return;
    }
    RangeAnswer::Asked asked{file->position(), {}};
    if (endPos != toEnd)
        asked.last = endPos;
    const RangeAnswer verdict = RangeAnswer::judge(head, asked, *m_length);
    if (!verdict.refusal.isEmpty()) {
        refuse(verdict.refusal);
        return;
    }
    m_answer = Answer::Accepted;
    m_bytesToSkip = verdict.skip;
    m_mayGoOn = verdict.mayGoOn;
    if (verdict.total)
        m_length->told = verdict.total;
}

void DownloaderThread::refuse(const QString &reason)
{
    m_answer = Answer::Refused;
    m_failure = reason;
}

qint64 DownloaderThread::missing() const
{
    if (endPos != toEnd)
        return std::max<qint64>(0, qint64(endPos) + 1 - file->position());
    return m_length->told ? std::max<qint64>(0, *m_length->told - file->position())
                          : std::numeric_limits<qint64>::max();
}

void DownloaderThread::releaseReply()
{
    m_pause.stop();
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
    m_report.stop();
    const qint64 received = file->position() - startPos;
    if (received != lastReceived)
        downloadProgress(received, qint64(endPos) + 1 - startPos);
}

void DownloaderThread::end()
{
    if (m_hasEnded)
        return;
    m_hasEnded = true;
    releaseReply();
    if (!file->close() && m_failure.isEmpty())
        m_failure = file->error();
    reportProgress();
    emit downloadCompleted();
}
