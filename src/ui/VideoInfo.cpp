#include "ui/VideoInfo.h"

#include "framework/InertText.h"
#include "settings/CAppSetting.h"

#include "ui_VideoInfo.h"

#include <QApplication>
#include <QDebug>
#include <QHeaderView>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>

namespace {

enum Column { IdColumn, NameColumn, FormatColumn, DurationColumn, ResolutionColumn, SizeColumn, DownloadColumn };

constexpr int longestTitle = 500; // characters

constexpr int cellPadding = 12; // pixels, on either side

// Rows that get their buttons in one go, more than any screen shows: a hostile page can list a hundred thousand
// formats, whose buttons would freeze the window for half a minute.
constexpr int buttonsAtOnce = 200;

qint64 pixelCount(const Meta &meta)
{
    const QStringList sides = meta.getResolution().split(QLatin1Char('X'));
    return sides.size() < 2 ? 0 : sides.at(0).toLongLong() * sides.at(1).toLongLong();
}

// One key for every pair keeps the order consistent: pixels, then mp4 before others, then the larger of a kind.
bool comesBefore(const Meta &a, const Meta &b)
{
    qDebug() << a.getSize() << " " << b.getSize();
    const qint64 pixelsOfA = pixelCount(a);
    const qint64 pixelsOfB = pixelCount(b);
    if (pixelsOfA != pixelsOfB)
        return pixelsOfA > pixelsOfB;
    if (a.getExtension() != b.getExtension()) {
        const QLatin1String preferred("mp4");
        if (a.getExtension() == preferred || b.getExtension() == preferred)
            return a.getExtension() == preferred;
        return a.getExtension() < b.getExtension();
    }
    return a.getSize() > b.getSize();
}

} // namespace

VideoInfo::VideoInfo(const VideoItem &video_, QWidget *parent)
    : SkDialog(parent, {}, false)
    , ui(std::make_unique<Ui::VideoInfo>())
    , video(video_)
{
    setupForm(*ui);

    QList<Meta> formats = video.getAvailaibleFormats();
    for (const Meta &meta : qAsConst(formats))
        qDebug() << meta.getSize();
    qDebug() << "*********************************";
    std::sort(formats.begin(), formats.end(), comesBefore);

    ui->lTitle->setText(
        QStringLiteral("%1 help you find %2 video with different format, please select one to download.")
            .arg(CAppSetting::instance()->productName, QString::number(formats.size())));
    fillTable(formats);
}

VideoInfo::~VideoInfo() = default;

void VideoInfo::fillTable(const QList<Meta> &formats)
{
    QTableWidget *table = ui->tableWidget;
    QHeaderView *header = table->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::Interactive);
    for (const int column : {IdColumn, DurationColumn, SizeColumn})
        header->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    header->setSectionResizeMode(NameColumn, QHeaderView::Stretch);

    table->setAlternatingRowColors(true);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setWordWrap(false);
    table->verticalHeader()->hide();
    table->setRowCount(formats.size());

    // Painting a title of megabytes takes seconds.
    const QString title = video.getTitle().left(longestTitle);
    for (int row = 0; row < formats.size(); ++row) {
        const Meta &meta = formats.at(row);
        const auto setCell = [table, row](Column column, const QString &text) {
            auto *item = new QTableWidgetItem(text);
            table->setItem(row, column, item);
            return item;
        };
        setCell(IdColumn, QString::number(meta.getItag()));
        setCell(NameColumn, title)->setToolTip(inertText(title));
        setCell(FormatColumn, meta.getExtension())->setTextAlignment(Qt::AlignCenter);
        setCell(DurationColumn, video.getLength())->setTextAlignment(Qt::AlignCenter);
        setCell(ResolutionColumn, meta.getResolution())->setTextAlignment(Qt::AlignCenter);
        setCell(SizeColumn, meta.getHumanReadableSize());
    }
    table->selectRow(0);

    makeButtonsAround(0);
    for (const int column : {FormatColumn, ResolutionColumn})
        table->resizeColumnToContents(column);
    if (table->rowCount() > 0) {
        const int buttonWidth = table->cellWidget(0, DownloadColumn)->sizeHint().width() + 2 * cellPadding;
        header->resizeSection(DownloadColumn, std::max(header->sectionSizeHint(DownloadColumn), buttonWidth));
        table->resizeRowToContents(0);
        table->verticalHeader()->setDefaultSectionSize(table->rowHeight(0));
    }
    connect(table->verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this, table] { makeButtonsAround(table->rowAt(0)); });
}

void VideoInfo::makeButtonsAround(int row)
{
    QTableWidget *table = ui->tableWidget;
    const int last = std::min(row + buttonsAtOnce, table->rowCount());
    for (int i = std::max(0, row - buttonsAtOnce); i < last; ++i) {
        if (table->cellWidget(i, DownloadColumn))
            continue;
        auto *button = new QPushButton(tr("Download"), table);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, &VideoInfo::onDownloadClicked);
        table->setCellWidget(i, DownloadColumn, button);
    }
}

void VideoInfo::showEvent(QShowEvent *event)
{
    SkDialog::showEvent(event);
    m_sinceShown.start();
}

void VideoInfo::onDownloadClicked(bool /*checked*/)
{
    // Starting a download may wait for the network, and the buttons stay alive meanwhile.
    if (m_hasChosen)
        return;
    // In a playlist this may be the second half of a double-click on the dialog before.
    if (m_sinceShown.elapsed() < QApplication::doubleClickInterval())
        return;
    m_hasChosen = true;

    QTableWidget *table = ui->tableWidget;
    // A button that was pressed without taking the focus has not made its row current.
    if (const auto *button = qobject_cast<QPushButton *>(sender()))
        table->setCurrentCell(table->indexAt(button->pos()).row(), IdColumn);
    const int itag = table->item(table->currentRow(), IdColumn)->text().toInt();
    emit signalStartDownload(video, itag);
    accept();
}
