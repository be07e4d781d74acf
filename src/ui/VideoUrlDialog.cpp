#include "ui/VideoUrlDialog.h"

#include "framework/DoubleClickGuard.h"
#include "framework/SkinFiles.h"
#include "framework/SkMessageBox.h"
#include "youtube/NetworkManager.h"
#include "youtube/Youtube.h"

#include "ui_VideoUrlDialog.h"

#include <QScopedValueRollback>
#include <QUrl>

namespace {

// A style sheet paints placeholder and typed text alike, and has no word to tell them apart.
void fadePlaceholder(QLineEdit &lineEdit)
{
    lineEdit.ensurePolished();
    QPalette palette = lineEdit.palette();
    QColor faded = palette.color(QPalette::Text);
    faded.setAlphaF(0.6);
    palette.setColor(QPalette::PlaceholderText, faded);
    lineEdit.setPalette(palette);
}

} // namespace

VideoUrlDialog::VideoUrlDialog(bool playlist, QWidget *parent)
    : SkDialog(parent, {}, false)
    , ui(std::make_unique<Ui::VideoUrlDialog>())
    , isPlaylist(playlist)
{
    setupForm(*ui);
    showAnalysing(false);
    ui->btnGo->setEnabled(false);
    ui->urlLineEdit->setPlaceholderText(isPlaylist
                                            ? QStringLiteral("Please copy and paste the url of Youtube Playlist here")
                                            : QStringLiteral("Please copy and paste the url of Youtube Video here"));
    fadePlaceholder(*ui->urlLineEdit);
    setTitleName(isPlaylist ? QStringLiteral("Youtube Playlist Url") : QStringLiteral("Youtube Video Url"));
    movie.setFileName(skinFile(QStringLiteral("logining.gif")));
    connect(this, &QDialog::finished, &movie, &QMovie::stop);
    // It takes the place of "Go".
    new DoubleClickGuard(ui->btnCancel);
}

VideoUrlDialog::~VideoUrlDialog() = default;

void VideoUrlDialog::setAddress(const QString &address)
{
    ui->urlLineEdit->setText(address);
    on_urlLineEdit_textEdited(address);
}

void VideoUrlDialog::on_urlLineEdit_textEdited(const QString &text)
{
    ui->btnGo->setEnabled(!text.isEmpty());
}

void VideoUrlDialog::on_btnGo_clicked()
{
    movie.start();
    ui->movie_label->setMovie(&movie);
    ui->status_label->setText(isPlaylist ? QStringLiteral("Analyzing the Youtube Playlist url")
                                         : QStringLiteral("Analyzing the Youtube Video url"));
    // Hiding "Go" would hand its focus to "Cancel", and with it the next Return.
    ui->urlLineEdit->setFocus();
    showAnalysing(true);
    accept();
}

void VideoUrlDialog::accept()
{
    if (m_isAnalysing)
        return;
    const QString error = analyse();
    if (error.isEmpty())
        return;

    // An application that is closing has nobody left to read the message.
    if (!NetworkManager::getInstance()->isInterrupted()) {
        const QString text =
            QStringLiteral("Analyze the Youtube url failed: %1. Please check your network connection.");
        SkMessageBox box(this);
        box.setMessageType(SkMessageBox::DialogType_Critical);
        box.setPlainMessageText(text.arg(error));
        box.exec();
    }
    showAnalysing(false);
    reject();
}

QString VideoUrlDialog::analyse()
{
    const QScopedValueRollback<bool> analysing(m_isAnalysing, true);
    Youtube analyser;
    connect(&analyser, &Youtube::videoDataNotFound, this, &VideoUrlDialog::onNoVideoFound);
    QUrl url = QUrl::fromUserInput(ui->urlLineEdit->text());
    if (isPlaylist) {
        connect(&analyser, &Youtube::playlistDataDownloaded, this, &VideoUrlDialog::playlistDataDownloaded);
        return analyser.downloadPlaylist(url);
    }
    connect(&analyser, &Youtube::videoDataDownloaded, this, &VideoUrlDialog::videoDataDownloaded);
    return analyser.downloadVideo(url);
}

void VideoUrlDialog::reject()
{
    if (m_isAnalysing)
        isCanceled = true;
    SkDialog::reject();
}

void VideoUrlDialog::on_btnCancel_clicked()
{
    isCanceled = true;
    reject();
}

void VideoUrlDialog::videoDataDownloaded(VideoItem video)
{
    if (!video.isValid()) {
        onNoVideoFound();
        return;
    }
    if (isCanceled)
        return;
    SkDialog::accept();
    emit signalGetVideo(video);
}

void VideoUrlDialog::playlistDataDownloaded(QVector<VideoItem> videos)
{
    if (videos.isEmpty()) {
        onNoVideoFound();
        return;
    }
    if (isCanceled)
        return;
    SkDialog::accept();
    emit signalGetPlayList(videos);
}

void VideoUrlDialog::onNoVideoFound()
{
    SkMessageBox(this, SkMessageBox::DialogType_Warning, tr("No video found in the Youtube url.")).exec();
    showAnalysing(false);
}

void VideoUrlDialog::showAnalysing(bool analysing)
{
    ui->status_label->setVisible(analysing);
    ui->movie_label->setVisible(analysing);
    ui->btnCancel->setVisible(analysing);
    ui->btnGo->setVisible(!analysing);
}
