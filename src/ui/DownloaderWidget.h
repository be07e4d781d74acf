#pragma once

#include "ui/RunningDownloads.h"
#include "ui/SizeText.h"
#include "youtube/VideoItem.h"

#include <QVector>
#include <QWidget>

#include <memory>

class QTreeWidgetItem;
class TaskList;

namespace Ui {
class DownloaderWidget;
}

// The page on which downloads are started and watched: by its buttons, or by an address that is dropped on it. Rows
// stay for the life of the page; a download that is still running when the page goes ends with it, and the next page
// shows its file as incomplete.
class DownloaderWidget : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DownloaderWidget)

public:
    explicit DownloaderWidget(QWidget *parent = nullptr);
    ~DownloaderWidget() override;

    // The output folder as the page shows it, made if it is missing and kept as an option; false, after a message,
    // where the text is no absolute path.
    bool getOutputDir(QString &path);
    // Appends the row of a new download; owned by the task list.
    QTreeWidgetItem *addTask(const VideoItem &video, const Meta &meta);
    [[nodiscard]] bool isDownloading() const { return !m_running.isEmpty(); }

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;

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
    void setUpButtons();
    void enterAddress(bool isPlaylist, const QString &address = {});
    [[nodiscard]] QString outputFile(const QTreeWidgetItem *row) const;

    const std::unique_ptr<Ui::DownloaderWidget> ui;
    TaskList *m_tasks = nullptr; // owned by the tree
    RunningDownloads m_running;
};
