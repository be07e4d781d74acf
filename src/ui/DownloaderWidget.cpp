#include "ui/DownloaderWidget.h"

#include "download/DownloadManager.h"
#include "framework/InertText.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "settings/FileNames.h"
#include "ui/SizeText.h"
#include "ui/TransferRate.h"
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
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QProgressBar>
#include <QSslCipher>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace {

enum Column { IdColumn, NameColumn, DurationColumn, SizeColumn, DownloadedColumn, ProgressColumn };

// Where a row keeps the path of its finished file.
constexpr int filePathRole = Qt::UserRole;

constexpr int longestTitle = 500; // characters
constexpr int cellPadding = 12; // pixels, on either side
constexpr int iconSpace = 24; // pixels

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

void openFile(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

// The web address that is being dragged; invalid when there is none.
QUrl draggedAddress(const QMimeData &data)
{
    const QList<QUrl> urls = data.urls();
    const QUrl url = urls.isEmpty() ? QUrl(data.text().trimmed(), QUrl::StrictMode) : urls.constFirst();
    return url.scheme().startsWith(QLatin1String("http")) ? url : QUrl();
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

    ui->addVideo->setShortcut(QKeySequence::New);
    ui->addPlaylist->setShortcut(Qt::CTRL + Qt::SHIFT + Qt::Key_N);
    ui->btnOpen->setShortcut(QKeySequence::Open);

    setUpTaskList();
    ui->leDestination->setText(CAppSetting::instance()->outputPath);
    setAcceptDrops(true);
}

// The managers go before the network access objects that they use, which are children of this page.
DownloaderWidget::~DownloaderWidget() = default;

void DownloaderWidget::setUpTaskList()
{
    QHeaderView *header = ui->treeWidget->header();
    header->setDefaultAlignment(Qt::AlignCenter);
    header->setStretchLastSection(false);
    header->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    // Without it, every new row has the heights of all others asked for again.
    ui->treeWidget->setUniformRowHeights(true);
    // Wide enough for the header's text and for the longest content that is usual.
    const QVector<QPair<int, QString>> usual{{IdColumn, QStringLiteral("000")},
                                             {DurationColumn, QStringLiteral("00:00:00")},
                                             {SizeColumn, QStringLiteral("1024.00MB")},
                                             {DownloadedColumn, QStringLiteral("1024.00MB")}};
    ui->treeWidget->ensurePolished();
    for (const auto &[column, text] : usual)
        header->resizeSection(column, std::max(header->sectionSizeHint(column), cellWidth(text)));
    header->setMinimumSectionSize(header->sectionSizeHint(NameColumn));
    ui->treeWidget->viewport()->installEventFilter(this);

    m_emptyHint = new QLabel(tr("Press a button above, or drop an address here."), ui->treeWidget->viewport());
    m_emptyHint->setObjectName(QStringLiteral("emptyHint_label"));
    m_emptyHint->setAlignment(Qt::AlignCenter);
    m_emptyHint->setWordWrap(true);
    auto *layout = new QVBoxLayout(ui->treeWidget->viewport());
    layout->addWidget(m_emptyHint);

    ui->treeWidget->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(ui->treeWidget, &QWidget::customContextMenuRequested, this, &DownloaderWidget::showRowMenu);
    connect(ui->treeWidget, &QTreeWidget::itemActivated, this, [](QTreeWidgetItem *row) {
        const QString path = row->data(NameColumn, filePathRole).toString();
        if (!path.isEmpty())
            openFile(path);
    });
}

int DownloaderWidget::cellWidth(const QString &text) const
{
    return ui->treeWidget->fontMetrics().horizontalAdvance(text) + 2 * cellPadding;
}

bool DownloaderWidget::eventFilter(QObject *watched, QEvent *event)
{
    // In a narrow window the progress column makes room for the name, down to the bare per cent.
    if (event->type() == QEvent::Resize) {
        QHeaderView *header = ui->treeWidget->header();
        int room = ui->treeWidget->viewport()->width() - cellWidth(QStringLiteral("A name of a video"));
        for (const int column : {IdColumn, DurationColumn, SizeColumn, DownloadedColumn})
            room -= header->sectionSize(column);
        const int narrowest = std::max(header->sectionSizeHint(ProgressColumn), iconSpace + cellWidth(tr("Finished")));
        const int widest = std::max(narrowest, cellWidth(QStringLiteral("100%  1024.00MB/s  00:00:00")));
        header->resizeSection(ProgressColumn, std::clamp(room, narrowest, widest));
    }
    return QWidget::eventFilter(watched, event);
}

void DownloaderWidget::showRowMenu(const QPoint &pos)
{
    const QTreeWidgetItem *row = ui->treeWidget->itemAt(pos);
    const QString path = row ? row->data(NameColumn, filePathRole).toString() : QString();
    if (path.isEmpty())
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Open File"), this, [path] { openFile(path); });
    menu->addAction(tr("Open Folder"), this, [path] { openFile(QFileInfo(path).absolutePath()); });
    menu->popup(ui->treeWidget->viewport()->mapToGlobal(pos));
}

void DownloaderWidget::dragEnterEvent(QDragEnterEvent *event)
{
    // A drop may reach a page that an open dialog blocks.
    if (!QApplication::activeModalWidget() && draggedAddress(*event->mimeData()).isValid())
        event->acceptProposedAction();
}

void DownloaderWidget::dropEvent(QDropEvent *event)
{
    const QUrl address = draggedAddress(*event->mimeData());
    if (!address.isValid())
        return;
    event->acceptProposedAction();
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
    auto *item = new QTreeWidgetItem(ui->treeWidget);
    // No file system takes a longer name, and painting one of megabytes takes seconds.
    const QString name = video.getTitle().left(longestTitle) + QLatin1Char('.') + meta.getExtension();
    item->setData(IdColumn, Qt::DisplayRole, meta.getItag());
    item->setText(NameColumn, name);
    item->setToolTip(NameColumn, inertText(name));
    item->setText(DurationColumn, video.getLength());
    item->setText(SizeColumn, formatSize(meta.getSize()));
    item->setData(DownloadedColumn, Qt::DisplayRole, 0);
    for (const int column : {IdColumn, DurationColumn, SizeColumn, DownloadedColumn})
        item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);

    auto *bar = new QProgressBar(ui->treeWidget);
    bar->setMaximum(10000);
    bar->setAccessibleName(tr("Progress of %1").arg(name));
    ui->treeWidget->setItemWidget(item, ProgressColumn, bar);
    m_emptyHint->hide();
    return item;
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
        // A quit during the start of one download leaves nobody to choose the next format.
        if (NetworkManager::getInstance()->isInterrupted())
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
    // Two downloads at once into one file would leave a mixture of both.
    const QString canonicalPath = QFileInfo(path).canonicalFilePath();
    const bool isBusy = std::any_of(m_running.begin(), m_running.end(), [&canonicalPath](const auto &running) {
        return running.second.filePath == canonicalPath;
    });
    if (isBusy) {
        SkMessageBox(this, SkMessageBox::DialogType_Warning, tr("A download into this file is still running.")).exec();
        return;
    }
    auto *manager = new DownloadManager(meta, path, this, row);
    m_running.emplace(
        row, Running{std::unique_ptr<DownloadManager>(manager), std::make_unique<TransferRate>(), canonicalPath});
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
        const auto running = m_running.find(widgetItem);
        const QString text = running != m_running.end() ? running->second.rate->text(received, total) : QString();
        const bool fits = bar->fontMetrics().horizontalAdvance(text) < bar->width();
        bar->setFormat(fits ? text : QStringLiteral("%p%"));
        bar->show();
    }
}

void DownloaderWidget::finished(void *widgetItem)
{
    auto *row = static_cast<QTreeWidgetItem *>(widgetItem);
    QString failure;
    if (const auto *manager = qobject_cast<DownloadManager *>(sender())) {
        failure = manager->failure();
        row->setData(NameColumn, filePathRole, m_running.at(widgetItem).filePath);
        m_running.erase(widgetItem);
    }
    if (failure.isEmpty()) {
        row->setIcon(ProgressColumn, QIcon(skinFile(QStringLiteral("row-finished.png"))));
    } else {
        row->setIcon(ProgressColumn, QIcon(skinFile(QStringLiteral("row-warning.png"))));
        row->setToolTip(ProgressColumn, inertText(tr("The file is incomplete: %1").arg(failure)));
    }
    row->setText(ProgressColumn, tr("Finished"));
    ui->treeWidget->removeItemWidget(row, ProgressColumn);
}
