#pragma once

#include "framework/SkDialog.h"
#include "youtube/VideoItem.h"

#include <memory>

namespace Ui {
class VideoInfo;
}

// Lists the formats of one video, best first, and reports the one that the person picks.
class VideoInfo : public SkDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoInfo)

public:
    VideoInfo(const VideoItem &video, QWidget *parent);
    ~VideoInfo() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    // At most once, while the dialog is still open.
    void signalStartDownload(VideoItem video, int itag);

private slots:
    void onDownloadClicked(bool checked);

private:
    enum Column { IdColumn, NameColumn, FormatColumn, DurationColumn, ResolutionColumn, SizeColumn, DownloadColumn };

    void setUpTable();
    void fillTable(const QList<Meta> &formats);
    void makeButtonsAround(int row);

    const std::unique_ptr<Ui::VideoInfo> ui;
    const VideoItem video;
    bool m_hasChosen = false;
};
