#pragma once

#include "framework/SkDialog.h"
#include "youtube/VideoItem.h"

#include <QMovie>
#include <QVector>

#include <memory>

namespace Ui {
class VideoUrlDialog;
}

// Takes the address of a video or of a playlist and hands over what its analysis found. The analysis runs in nested
// event loops inside accept(), so the dialog must live until exec() has returned.
class VideoUrlDialog : public SkDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoUrlDialog)

public:
    VideoUrlDialog(bool playlist, QWidget *parent);
    ~VideoUrlDialog() override;

    // As if the person had typed it.
    void setAddress(const QString &address);

signals:
    // At most one of them for each analysis, after the dialog has closed; never once it was cancelled.
    void signalGetVideo(VideoItem video);
    void signalGetPlayList(QVector<VideoItem> videos);

public slots:
    // Runs the analysis.
    void accept() override;
    // Closing the dialog in any way while it analyses cancels it.
    void reject() override;
    void videoDataDownloaded(VideoItem video);
    void playlistDataDownloaded(QVector<VideoItem> videos);
    void on_btnGo_clicked();
    void on_btnCancel_clicked();
    void on_urlLineEdit_textEdited(const QString &text);
    void onNoVideoFound();

private:
    // Returns why a page could not be fetched; what was found has been handed over by then.
    [[nodiscard]] QString analyse();
    void showAnalysing(bool analysing);

    const std::unique_ptr<Ui::VideoUrlDialog> ui;
    const bool isPlaylist;
    QMovie movie;
    bool isCanceled = false;
    bool m_isAnalysing = false;
};
