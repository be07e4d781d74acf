#include "ui/VideoUrlDialog.h"

#include "framework/InertText.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "youtube/NetworkManager.h"
#include "youtube/Youtube.h"

#include "ui_VideoUrlDialog.h"

#include <QApplication>
#include <QRegularExpression>
#include <QScopedValueRollback>
#include <QUrl>

namespace {

// An error may quote a long address or whatever else a server sent; the message box must stay on the screen.
QString readable(const QString &error)
{
    static const QRegularExpression longRun(QStringLiteral("(\\S{40})"));
    const QString zeroWidthSpace(QChar(0x200b));
    return error.left(300).replace(longRun, QStringLiteral("\\1") + zeroWidthSpace);
}

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
    movie.setFileName(CAppSetting::instance()->getSkinPath(false) + QStringLiteral("logining.gif"));
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
    m_sinceGo.start();
    accept();
}

void VideoUrlDialog::accept()
{
    if (m_isAnalysing)
        return;
    const QScopedValueRollback<bool> analysing(m_isAnalysing, true);

    Youtube analyser;
    connect(&analyser, &Youtube::videoDataNotFound, this, &VideoUrlDialog::onNoVideoFound);
    QUrl url = QUrl::fromUserInput(ui->urlLineEdit->text());
    QString error;
    if (isPlaylist) {
        connect(&analyser, &Youtube::playlistDataDownloaded, this, &VideoUrlDialog::playlistDataDownloaded);
        error = analyser.downloadPlaylist(url);
    } else {
        connect(&analyser, &Youtube::videoDataDownloaded, this, &VideoUrlDialog::videoDataDownloaded);
        error = analyser.downloadVideo(url);
    }
    if (error.isEmpty())
        return;

    // An application that is closing has nobody left to read the message.
    if (!NetworkManager::getInstance()->isInterrupted()) {
        const QString text =
            QStringLiteral("Analyze the Youtube url failed: %1. Please check your network connection.");
        SkMessageBox(this, SkMessageBox::DialogType_Critical, inertText(text.arg(readable(error)))).exec();
    }
    if (!isCanceled)
        reject();
}

void VideoUrlDialog::reject()
{
    if (m_isAnalysing)
        isCanceled = true;
    SkDialog::reject();
}

void VideoUrlDialog::on_btnCancel_clicked()
{
    // It stands where "Go" was, so this may be the second half of a double-click on that.
    if (m_sinceGo.elapsed() < QApplication::doubleClickInterval())
        return;
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
