#include "ui/DownloaderWidget.h"

#include "download/DownloadManager.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "settings/FileNames.h"
#include "ui/SizeText.h"
#include "ui/VideoInfo.h"
#include "ui/VideoUrlDialog.h"
#include "youtube/StreamHead.h"

#include "ui_DownloaderWidget.h"

#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QProgressBar>
#include <QSslCipher>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QUrl>

#include <algorithm>

namespace {

enum Column { IdColumn, NameColumn, DurationColumn, SizeColumn, DownloadedColumn, ProgressColumn };

constexpr int cellPadding = 12; // pixels, on either side

QString skinFile(const QString &name)
{
    return CAppSetting::instance()->getSkinPath(false) + name;
}

void writeSslSupport()
{
    qDebug() << (QSslSocket::supportsSsl() ? "true" : "false");
    const auto supported = QSslConfiguration::supportedCiphers();
    for (const QSslCipher &cipher : supported)
        qDebug() << cipher.name();
    const auto defaults = QSslConfiguration::defaultConfiguration().ciphers();
    for (const QSslCipher &cipher : defaults)
        qDebug() << cipher.name();
}

} // namespace

DownloaderWidget::DownloaderWidget(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::DownloaderWidget>())
{
    ui->setupUi(this);

    ui->addVideo->setText(QStringLiteral("Youtube Video"));
    ui->addVideo->setToolTip(QStringLiteral("Click to download Youtube Video"));
    ui->addVideo->setIcon(QPixmap(skinFile(QStringLiteral("addvideo.png"))));
    ui->addPlaylist->setText(QStringLiteral("Youtube Playlist"));
    ui->addPlaylist->setToolTip(QStringLiteral("Click to download Youtube playlist"));
    ui->addPlaylist->setIcon(QPixmap(skinFile(QStringLiteral("addplaylist.png"))));

    setUpTaskList();
    ui->leDestination->setText(CAppSetting::instance()->outputPath);
}

DownloaderWidget::~DownloaderWidget()
{
    // The managers use network access objects that are children of this page.
    qDeleteAll(m_running);
}

void DownloaderWidget::setUpTaskList()
{
    QHeaderView *header = ui->treeWidget->header();
    header->setDefaultAlignment(Qt::AlignCenter);
    header->setStretchLastSection(false);
    header->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    // Wide enough for the header's text and for the longest content that is usual.
    const QVector<QPair<int, QString>> usual {{IdColumn, QStringLiteral("000")},
                                              {DurationColumn, QStringLiteral("00:00:00")},
                                              {SizeColumn, QStringLiteral("1024.00MB")},
                                              {DownloadedColumn, QStringLiteral("1024.00MB")},
                                              {ProgressColumn, QStringLiteral("100 %  1024.00MB/s  00:00:00")}};
    ui->treeWidget->ensurePolished();
    for (const auto &[column, text] : usual) {
        const int textWidth = ui->treeWidget->fontMetrics().horizontalAdvance(text) + 2 * cellPadding;
        header->resizeSection(column, std::max(header->sectionSizeHint(column), textWidth));
    }
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
    auto *item = new QTreeWidgetItem(ui->treeWidget);
    const QString name = video.getTitle() + QLatin1Char('.') + meta.getExtension();
    item->setData(IdColumn, Qt::DisplayRole, meta.getItag());
    item->setText(NameColumn, name);
    item->setText(DurationColumn, video.getLength());
    item->setText(SizeColumn, formatSize(meta.getSize()));
    item->setData(DownloadedColumn, Qt::DisplayRole, 0);

    auto *bar = new QProgressBar(ui->treeWidget);
    bar->setMaximum(10000);
    ui->treeWidget->setItemWidget(item, ProgressColumn, bar);
    return item;
}

void DownloaderWidget::on_addVideo_clicked()
{
    writeSslSupport();
    VideoUrlDialog dialog(false, this);
    dialog.setModal(true);
    connect(&dialog, &VideoUrlDialog::signalGetVideo, this, &DownloaderWidget::onGetVideo);
    dialog.exec();
}

void DownloaderWidget::on_addPlaylist_clicked()
{
    VideoUrlDialog dialog(true, this);
    dialog.setModal(true);
    connect(&dialog, &VideoUrlDialog::signalGetPlayList, this, &DownloaderWidget::onGetPlayList);
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
    for (const VideoItem &video : qAsConst(videoList))
        onGetVideo(video);
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
        return;
    }
    meta.setUrl(address);

    QString folder = CAppSetting::instance()->outputPath;
    QDir().mkpath(folder);
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    const QString path = folder + Utility::ReplaceBadCharOfFileName(row->text(NameColumn));
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite)) {
        SkMessageBox(this, SkMessageBox::DialogType_Warning, QStringLiteral("Invalid file path")).exec();
        return;
    }
    auto *manager = new DownloadManager(meta, path, this, row);
    m_running.append(manager);
    connect(manager, &DownloadManager::progress, this, &DownloaderWidget::downloadProgress);
    connect(manager, &DownloadManager::downloadCompleted, this, &DownloaderWidget::finished);
    manager->download();
}

void DownloaderWidget::downloadProgress(qint64 received, qint64 total, void *widgetItem)
{
    auto *row = static_cast<QTreeWidgetItem *>(widgetItem);
    row->setText(DownloadedColumn, formatSize(received));
    if (auto *bar = qobject_cast<QProgressBar *>(ui->treeWidget->itemWidget(row, ProgressColumn))) {
        bar->setMaximum(static_cast<int>(total));
        bar->setValue(static_cast<int>(received));
        bar->show();
    }
}

void DownloaderWidget::finished(void *widgetItem)
{
    auto *row = static_cast<QTreeWidgetItem *>(widgetItem);
    if (auto *manager = qobject_cast<DownloadManager *>(sender())) {
        if (!manager->failure().isEmpty()) {
            row->setIcon(ProgressColumn, QIcon(skinFile(QStringLiteral("row-warning.png"))));
            row->setToolTip(ProgressColumn, tr("The file is incomplete: %1").arg(manager->failure()).toHtmlEscaped());
        }
        m_running.removeOne(manager);
        delete manager;
    }
    row->setText(ProgressColumn, tr("Finished"));
    ui->treeWidget->removeItemWidget(row, ProgressColumn);
}
