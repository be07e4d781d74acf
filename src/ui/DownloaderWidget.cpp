#include "ui/DownloaderWidget.h"

#include "download/DownloadManager.h"
#include "framework/SkinFiles.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "settings/FileNames.h"
#include "ui/DraggedAddress.h"
#include "ui/SslSupport.h"
#include "ui/TaskList.h"
#include "ui/VideoInfo.h"
#include "ui/VideoUrlDialog.h"
#include "youtube/NetworkManager.h"
#include "youtube/StreamHead.h"

#include "ui_DownloaderWidget.h"

#include <QApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QDragEnterEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QTimer>
#include <QUrl>

#include <algorithm>

namespace {

// Never a move, which would take the address from where it was.
void acceptCopy(QDropEvent &event)
{
    event.setDropAction(Qt::CopyAction);
    event.accept();
}

} // namespace

DownloaderWidget::DownloaderWidget(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::DownloaderWidget>())
{
    ui->setupUi(this);
    setUpButtons();
    m_tasks = new TaskList(ui->treeWidget);
    ui->leDestination->setText(CAppSetting::instance()->outputPath);
    setAcceptDrops(true);

    const QStringList leftovers = m_running.takeLeftovers();
    for (const QString &path : leftovers)
        m_tasks->addLeftover(path);
}

// The managers go before the network access objects that they use, which are children of this page.
DownloaderWidget::~DownloaderWidget() = default;

void DownloaderWidget::setUpButtons()
{
    ui->addVideo->setText(QStringLiteral("Youtube Video"));
    ui->addVideo->setToolTip(QStringLiteral("Click to download Youtube Video"));
    ui->addVideo->setIcon(QIcon(skinFile(QStringLiteral("addvideo.png"))));
    ui->addPlaylist->setText(QStringLiteral("Youtube Playlist"));
    ui->addPlaylist->setToolTip(QStringLiteral("Click to download Youtube playlist"));
    ui->addPlaylist->setIcon(QIcon(skinFile(QStringLiteral("addplaylist.png"))));

    ui->addVideo->setShortcut(QKeySequence::New);
    ui->addPlaylist->setShortcut(Qt::CTRL + Qt::SHIFT + Qt::Key_N);
    ui->btnOpen->setShortcut(QKeySequence::Open);
}

void DownloaderWidget::dragEnterEvent(QDragEnterEvent *event)
{
    // A drop may reach a page that an open dialog blocks.
    if (!QApplication::activeModalWidget() && draggedAddress(*event->mimeData()).isValid())
        acceptCopy(*event);
}

void DownloaderWidget::dropEvent(QDropEvent *event)
{
    const QUrl address = draggedAddress(*event->mimeData());
    if (!address.isValid())
        return;
    acceptCopy(*event);
    // The program that the address comes from waits for the drop to end, which a dialog would delay.
    QTimer::singleShot(0, this, [this, address] {
        enterAddress(address.fileName() == QLatin1String("playlist"), address.toString(QUrl::FullyEncoded));
    });
}

bool DownloaderWidget::getOutputDir(QString &path)
{
    const QString text = ui->leDestination->text();
    if (QDir::isRelativePath(text)) {
        SkMessageBox(this, SkMessageBox::DialogType_Warning, tr("Invalid path")).exec();
        return false;
    }
    path = text;
    QDir().mkpath(path);
    CAppSetting::instance()->outputPath = path;
    return true;
}

QTreeWidgetItem *DownloaderWidget::addTask(const VideoItem &video, const Meta &meta)
{
    return m_tasks->add(video, meta);
}

void DownloaderWidget::on_addVideo_clicked()
{
    writeSslSupport();
    enterAddress(false);
}

void DownloaderWidget::on_addPlaylist_clicked()
{
    enterAddress(true);
}

void DownloaderWidget::enterAddress(bool isPlaylist, const QString &address)
{
    VideoUrlDialog dialog(isPlaylist, this);
    dialog.setModal(true);
    dialog.setAddress(address);
    if (isPlaylist)
        connect(&dialog, &VideoUrlDialog::signalGetPlayList, this, &DownloaderWidget::onGetPlayList);
    else
        connect(&dialog, &VideoUrlDialog::signalGetVideo, this, &DownloaderWidget::onGetVideo);
    dialog.exec();
}

void DownloaderWidget::on_btnBrowse_clicked()
{
    QFileDialog dialog;
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setModal(true);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString path = QFileInfo(dialog.selectedFiles().constFirst()).absoluteFilePath();
    CAppSetting::instance()->outputPath = path;
    ui->leDestination->setText(path);
}

void DownloaderWidget::on_btnOpen_clicked()
{
    QString path;
    if (getOutputDir(path))
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void DownloaderWidget::onGetVideo(VideoItem video)
{
    VideoInfo dialog(video, this);
    dialog.setModal(true);
    connect(&dialog, &VideoInfo::signalStartDownload, this, &DownloaderWidget::onStartDownload);
    dialog.exec();
}

void DownloaderWidget::onGetPlayList(QVector<VideoItem> videoList)
{
    for (const VideoItem &video : qAsConst(videoList)) {
        // A quit leaves nobody to choose the next format.
        if (NetworkManager::getInstance()->isInterrupted() || SkDialog::isQuitting())
            return;
        onGetVideo(video);
    }
}

void DownloaderWidget::onStartDownload(VideoItem video, int itag)
{
    const QList<Meta> formats = video.getAvailaibleFormats();
    const auto chosen =
        std::find_if(formats.begin(), formats.end(), [itag](const Meta &format) { return format.getItag() == itag; });
    if (chosen == formats.end()) {
        qDebug() << "No format with itag" << itag;
        return;
    }
    Meta meta = *chosen;
    QTreeWidgetItem *row = addTask(video, meta);

    QString address = meta.getUrl();
    const StreamHead head = StreamHead::ask(address, {302});
    if (!head.error.isEmpty()) {
        qDebug() << head.error;
        m_tasks->showNotStarted(row, head.error);
        return;
    }
    meta.setUrl(address);

    const QString path = outputFile(row);
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite)) {
        m_tasks->showNotStarted(row, tr("%1: %2").arg(path, file.errorString()));
        SkMessageBox(this, SkMessageBox::DialogType_Warning, QStringLiteral("Invalid file path")).exec();
        return;
    }
    if (m_running.isWriting(path)) {
        const QString reason = tr("A download into this file is still running.");
        m_tasks->showNotStarted(row, reason);
        SkMessageBox(this, SkMessageBox::DialogType_Warning, reason).exec();
        return;
    }
    DownloadManager *manager = m_running.add(meta, path, this, row);
    m_tasks->showStarted(row);
    connect(manager, &DownloadManager::progress, this, &DownloaderWidget::downloadProgress);
    connect(manager, &DownloadManager::downloadCompleted, this, &DownloaderWidget::finished);
    manager->download();
}

QString DownloaderWidget::outputFile(const QTreeWidgetItem *row) const
{
    QString folder = CAppSetting::instance()->outputPath;
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    return folder + Utility::fittingFileName(Utility::ReplaceBadCharOfFileName(TaskList::name(row)));
}

void DownloaderWidget::downloadProgress(qint64 received, qint64 total, void *widgetItem)
{
    m_tasks->showProgress(static_cast<QTreeWidgetItem *>(widgetItem), received, total);
}

void DownloaderWidget::finished(void *widgetItem)
{
    QString failure;
    QString filePath;
    if (auto *manager = qobject_cast<DownloadManager *>(sender())) {
        failure = manager->failure();
        filePath = m_running.finish(manager);
    }
    m_tasks->showFinished(static_cast<QTreeWidgetItem *>(widgetItem), filePath, failure);
}
