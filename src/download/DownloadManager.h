#pragma once

#include "youtube/Meta.h"

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>

class QNetworkAccessManager;

// Downloads one stream format into one file as four byte ranges at once. One manager serves one download on the thread
// that made it; the receiver of downloadCompleted() deletes it, and with it goes everything that the download used.
class DownloadManager final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloadManager)

public:
    // Creates the file at the stream's full length, or empties an existing one. The manager itself has no parent; the
    // given one becomes the parent of the network access object. The tag comes back with every signal.
    DownloadManager(const Meta &meta, const QString &filePath, QObject *parent, void *tag);
    ~DownloadManager() override;

    // Called once, after the signals are connected; emits nothing itself.
    void download();

    // After downloadCompleted(): why bytes are missing, in words for a person; empty when the file is whole.
    [[nodiscard]] QString failure() const { return m_failure; }

signals:
    // Bytes in the file so far, and of the stream (0 where that is not known).
    void progress(qint64 receivedSize, qint64 totalSize, void *tag);
    // Once, however the ranges ended; the manager may be deleted in the slot.
    void downloadCompleted(void *tag);

private slots:
    void threadProgress(qint64 delta);
    void threadFinished();

private:
    void warnOfMissing(qint64 bytes) const;

    qint32 finishedCount = 0;
    const qint32 threadCount = 4;
    const qint64 totalSize;
    qint64 receivedSize = 0;
    const Meta meta;
    const QString filePath;
    QPointer<QNetworkAccessManager> accessManager;
    QMutex mutex;
    void *const tag;
    QString m_failure;
};
