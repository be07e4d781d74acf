#pragma once

#include "youtube/VideoItem.h"

#include <QVector>
#include <QWidget>

#include <map>
#include <memory>

class DownloadManager;
class QLabel;
class QTreeWidgetItem;
class QUrl;
class TransferRate;

namespace Ui {
class DownloaderWidget;
}

// The page on which downloads are started and watched: by its buttons, or by an address that is dropped on it. Rows
// stay for the life of the page; a download that is still running when the page goes ends with it.
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
    [[nodiscard]] bool isDownloading() const { return !m_running.empty(); }

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

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
    struct Running
    {
        std::unique_ptr<DownloadManager> manager;
        std::unique_ptr<TransferRate> rate;
        QString filePath;
    };

    void setUpTaskList();
    [[nodiscard]] int cellWidth(const QString &text) const;
    void enterAddress(bool isPlaylist, const QString &address = {});
    void showRowMenu(const QPoint &pos);

    const std::unique_ptr<Ui::DownloaderWidget> ui;
    QLabel *m_emptyHint = nullptr; // owned by the task list
    std::map<void *, Running> m_running; // by row
};
