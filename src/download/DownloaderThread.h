#pragma once

#include <QBasicTimer>
#include <QObject>
#include <QPointer>
#include <QString>

#include <limits>
#include <memory>
#include <optional>

class QFile;
class QNetworkAccessManager;
class QNetworkReply;

// Fetches one byte range of a stream into its place of the output file, which must exist. No thread despite the name:
// run() returns at once, and the event loop of the calling thread drives the rest. A range that is cut off goes on
// where it stopped; only bytes of the range itself ever reach the file.
class DownloaderThread final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloaderThread)

public:
    // As the last byte of a range: everything from its start to the end of the stream, however far that is.
    static constexpr int toEnd = std::numeric_limits<int>::max();

    // Both ends are inclusive offsets in bytes; a range whose end lies before its start is empty. The access manager is
    // not owned and must outlive the worker.
    DownloaderThread(const QString &url, const QString &filePath, int startPos, int endPos,
                     QNetworkAccessManager *accessManager, QObject *parent);
    ~DownloaderThread() override;

    // Before run(): the length in bytes that the whole stream is known to have; an answer of another length is refused.
    void setStreamLength(qint64 length) { m_streamLength = length; }

    // Nothing more reaches the file, for this reason in words for a person; before run() nothing is asked for either.
    void refuse(const QString &reason);

    // Called once, after the signals are connected; emits nothing itself.
    void run();

    // After downloadCompleted(): why bytes of the range are missing, in words for a person; empty when it is whole.
    [[nodiscard]] QString failure() const { return m_failure; }

public slots:
    void dataReceived();
    void finished();
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);

signals:
    // Bytes of the range that reached the file since the last time.
    void progress(qint64 delta);
    // Once, last, with the file closed; the worker may be deleted in the slot.
    void downloadCompleted();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    enum class Answer { Awaited, Accepted, Refused };

    void sendRequest();
    [[nodiscard]] QString requestFailure() const;
    void judgeAnswer();
    void storeAvailable(qint64 atMost);
    bool write(const char *bytes, qint64 count);
    void releaseReply();
    void reportProgress();
    void end();

    [[nodiscard]] qint64 missing() const;
    [[nodiscard]] bool isWhole() const { return missing() == 0; }

    qint64 lastReceived = 0; // bytes of the range reported so far
    const QString url;
    const QString filePath;
    const int startPos;
    const int endPos;
    std::unique_ptr<QFile> file;
    QNetworkAccessManager *const accessManager;

    QPointer<QNetworkReply> m_reply;
    Answer m_answer = Answer::Awaited;
    qint64 m_position; // offset of the next byte to write
    qint64 m_bytesToSkip = 0; // what a whole-stream answer sends before that offset
    std::optional<qint64> m_streamLength; // as it was known, or else as the server tells it
    int m_fruitlessRequests = 0; // in a row
    qint64 m_positionAtRequest = 0;
    QString m_failure;
    QBasicTimer m_storing; // while received bytes wait to be written
    bool m_hasEnded = false;
};
