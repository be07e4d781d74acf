#pragma once

#include "download/FileIdentity.h"
#include "download/RangeAnswer.h"
#include "youtube/Meta.h"

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <optional>

class QNetworkAccessManager;

// Downloads one stream format into one file as four byte ranges at once. One manager serves one download on the thread
// that made it; the receiver of downloadCompleted() deletes it, and with it goes everything that the download used.
class DownloadManager : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloadManager)

public:
    // Creates the file at the stream's full length, or empties an existing one, unless the process can open no more.
    // The manager itself has no parent; the given one becomes the parent of the network access object. The tag comes
    // back with every signal.
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
    void checkLength();
    // Why a file that every range has been written into is not the stream all the same; empty when it is.
    [[nodiscard]] QString lateFailure() const;
    void warnOfMissing() const;

    qint32 finishedCount = 0;
    const qint32 threadCount = 4;
    const qint64 totalSize;
    qint64 receivedSize = 0;
    const Meta meta;
    const QString filePath;
    QPointer<QNetworkAccessManager> accessManager;
    QMutex mutex;
    void *const tag;
    const std::shared_ptr<RangeAnswer::Known> m_length; // of the stream; shared with the workers
    const QString m_obstacle; // to any request, in words for a person
    std::optional<FileIdentity> m_file; // as it was made
    QString m_failure;
};
