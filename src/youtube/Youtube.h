#pragma once

#include "youtube/VideoItem.h"

#include <QObject>
#include <QString>
#include <QVector>

#include <optional>

class QByteArray;
class QUrl;

// Analyses pages of the video site. Keeps nothing between calls. Both operations block in nested event loops on the GUI
// thread and emit at most one signal, before they return; connect directly. A returned text says why a page could not
// be fetched, and then nothing was emitted; it is empty otherwise. When the application quits meanwhile, a text comes
// back.
class Youtube : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Youtube)

public:
    Youtube();

    // Analyses the watch page at the address, which is fetched as it stands; redirects are not followed.
    QString downloadVideo(QUrl &url);
    // Analyses every video of the playlist page, or of the watch page that plays a playlist, in page order; all or
    // nothing.
    QString downloadPlaylist(QUrl &url);

signals:
    void videoDataDownloaded(VideoItem item);
    void playlistDataDownloaded(QVector<VideoItem> items);
    // A fetched page held no player configuration.
    void videoDataNotFound();

private:
    // Nothing when the page held no configuration, which the signal tells, or when the application quits, which the
    // error does.
    std::optional<VideoItem> analyseWatchPage(const QByteArray &body, QString &error);
};
