#include "ui/VideoInfo.h"

#include "framework/DoubleClickGuard.h"
#include "framework/InertText.h"
#include "settings/CAppSetting.h"
#include "ui/CellPadding.h"
#include "ui/ShownTitle.h"

#include "ui_VideoInfo.h"

#include <QDebug>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>

namespace {

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
    qDebug().nospace() << a.getSize() << " " << b.getSize();
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
    setUpTable();
    fillTable(formats);
}

VideoInfo::~VideoInfo() = default;

void VideoInfo::setUpTable()
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
    connect(table->verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this, table] { makeButtonsAround(table->rowAt(0)); });
}

void VideoInfo::fillTable(const QList<Meta> &formats)
{
    QTableWidget *table = ui->tableWidget;
    table->setRowCount(formats.size());
    const QString title = shownTitle(video.getTitle());
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
    // By its cell: a table that has not been laid out selects no row.
    table->setCurrentCell(0, IdColumn);

    makeButtonsAround(0);
    for (const int column : {FormatColumn, ResolutionColumn})
        table->resizeColumnToContents(column);
    if (table->rowCount() > 0) {
        QHeaderView *header = table->horizontalHeader();
        const int buttonWidth = table->cellWidget(0, DownloadColumn)->sizeHint().width() + 2 * cellPadding;
        header->resizeSection(DownloadColumn, std::max(header->sectionSizeHint(DownloadColumn), buttonWidth));
        table->resizeRowToContents(0);
        table->verticalHeader()->setDefaultSectionSize(table->rowHeight(0));
    }
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
        button->installEventFilter(this);
        connect(button, &QPushButton::clicked, this, &VideoInfo::onDownloadClicked);
        // In a playlist it stands where the dialog before had one.
        new DoubleClickGuard(button);
        table->setCellWidget(i, DownloadColumn, button);
    }
}

// Return presses the button that has the focus; as auto-default ones, they would take it from the table, too.
bool VideoInfo::eventFilter(QObject *watched, QEvent *event)
{
    auto *button = qobject_cast<QPushButton *>(watched);
    if (button && event->type() == QEvent::KeyPress) {
        const auto *press = static_cast<QKeyEvent *>(event);
        const bool isReturn = press->key() == Qt::Key_Return || press->key() == Qt::Key_Enter;
        if (isReturn && !press->isAutoRepeat())
            button->click();
        if (isReturn)
            return true;
    }
    return SkDialog::eventFilter(watched, event);
}

void VideoInfo::onDownloadClicked(bool /*checked*/)
{
    // Starting a download may wait for the network, and the buttons stay alive meanwhile.
    if (m_hasChosen)
        return;

    QTableWidget *table = ui->tableWidget;
    // A button that was pressed without taking the focus has not made its row current.
    for (int row = 0; row < table->rowCount(); ++row) {
        if (sender() && table->cellWidget(row, DownloadColumn) == sender())
            table->setCurrentCell(row, IdColumn);
    }
    if (table->currentRow() < 0)
        return;
    m_hasChosen = true;
    emit signalStartDownload(video, table->item(table->currentRow(), IdColumn)->text().toInt());
    accept();
}
