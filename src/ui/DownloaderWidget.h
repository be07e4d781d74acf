#pragma once

#include "youtube/VideoItem.h"

#include <QVector>
#include <QWidget>

#include <memory>

class DownloadManager;
class QTreeWidgetItem;

namespace Ui {
class DownloaderWidget;
}

// The page on which downloads are started and watched. Rows stay for the life of the page; a download that is still
// running when the page goes ends with it.
class DownloaderWidget final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloaderWidget)

public:
    explicit DownloaderWidget(QWidget *parent = nullptr);
    ~DownloaderWidget() override;

    // The output folder as the page shows it, made if it is missing and kept as an option; false, after a message,
    // where the text is no absolute path.
    [[nodiscard]] bool getOutputDir(QString &path);
    // Appends the row of a new download; owned by the task list.
    QTreeWidgetItem *addTask(const VideoItem &video, const Meta &meta);

private slots:
    void on_addVideo_clicked();
    void on_addPlaylist_clicked();
    void on_btnBrowse_clicked();
    void on_btnOpen_clicked();
    void onGetVideo(VideoItem video);
    void onGetPlayList(QVector<VideoItem> videoList);
    void onStartDownload(VideoItem video, int itag);
    void finished(void *widgetItem);
    void downloadProgress(qint64 received, qint64 total, void *widgetItem);

private:
    void setUpTaskList();

    const std::unique_ptr<Ui::DownloaderWidget> ui;
    QVector<DownloadManager *> m_running; // owned
};
