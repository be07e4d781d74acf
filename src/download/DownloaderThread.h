#pragma once

#include "download/RangeAnswer.h"

#include <QBasicTimer>
#include <QObject>
#include <QPointer>
#include <QString>

#include <limits>
#include <memory>

class QNetworkAccessManager;
class QNetworkReply;
class RangeFile;

// Fetches one byte range of a stream into its place of the output file. No thread despite the name: run() returns at
// once, and the event loop of the calling thread drives the rest. A range that is cut off goes on where it stopped;
// only bytes of the range itself ever reach the file.
class DownloaderThread : public QObject
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

    // Before run(): what is known of the stream's length, shared by the ranges of one download. Each adds what its
    // answers tell, and an answer that contradicts it is refused.
    void shareLength(const std::shared_ptr<RangeAnswer::Known> &length) { m_length = length; }

    // Nothing more reaches the file, for this reason in words for a person; before run() nothing is asked for either.
    void refuse(const QString &reason);

    // Called once, after the signals are connected; emits nothing itself. Makes the file where there is none.
    void run();

    // After downloadCompleted(): why bytes of the range are missing, in words for a person; empty when it is whole.
    [[nodiscard]] QString failure() const { return m_failure; }

public slots:
    void dataReceived();
    void finished();
    // Emits progress() with what has come since the last report.
    void downloadProgress(qint64 bytesReceived, qint64 bytesTotal);

signals:
    // Bytes of the range that reached the file since the last time; what stays out of it is never counted.
    void progress(qint64 delta);
    // Once, last, with the file closed; the worker may be deleted in the slot.
    void downloadCompleted();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    enum class Answer { Awaited, Accepted, Refused };

    void sendRequest();
    void judgeAnswer();
    void storeTurn();
    void storeAvailable(qint64 atMost);
    void releaseReply();
    void reportProgress();
    void end();

    [[nodiscard]] qint64 missing() const;
    [[nodiscard]] bool isWhole() const { return missing() == 0; }

    qint64 lastReceived = 0; // bytes of the range at the last report
    const QString url;
    const int startPos;
    const int endPos;
    const std::unique_ptr<RangeFile> file;
    QNetworkAccessManager *const accessManager;

    QPointer<QNetworkReply> m_reply;
    Answer m_answer = Answer::Awaited;
    qint64 m_bytesToSkip = 0; // what the answer sends before the range's next byte
    bool m_mayGoOn = false; // the stream, after the end of the answer
    std::shared_ptr<RangeAnswer::Known> m_length; // never null
    int m_fruitlessRequests = 0; // in a row
    qint64 m_positionAtRequest = 0;
    QString m_failure;
    QBasicTimer m_storing; // while received bytes wait to be written
    QBasicTimer m_report; // while written bytes wait to be reported
    QBasicTimer m_pause; // before the last request
    bool m_hasEnded = false;
};
