#include "ui/TaskList.h"

#include "framework/InertText.h"
#include "framework/SkinFiles.h"
#include "ui/CellPadding.h"
#include "ui/ShownTitle.h"
#include "ui/SizeText.h"
#include "youtube/VideoItem.h"

#include <QDesktopServices>
#include <QEvent>
#include <QFileInfo>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// Where a row keeps the path of its file, once that can be opened.
constexpr int filePathRole = Qt::UserRole;

constexpr int iconSpace = 24; // pixels
constexpr int rateInterval = 1000; // milliseconds
constexpr int longestReason = 500; // characters; a server may have worded it

void openFile(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

QIcon warningIcon()
{
    return QIcon(skinFile(QStringLiteral("row-warning.png")));
}

// What the mark says: to the eye in a tool tip, and to a screen reader.
void explain(QTreeWidgetItem *row, int column, const QString &text)
{
    row->setToolTip(column, inertText(text));
    row->setData(column, Qt::AccessibleDescriptionRole, text);
}

} // namespace

TaskList::TaskList(QTreeWidget *tree)
    : QObject(tree)
    , m_tree(tree)
{
    setUpColumns();
    setUpEmptyHint();
    m_tree->viewport()->installEventFilter(this);
    m_tree->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_tree, &QWidget::customContextMenuRequested, this, &TaskList::showRowMenu);
    connect(m_tree, &QTreeWidget::itemActivated, this, [](QTreeWidgetItem *row) {
        const QString path = row->data(NameColumn, filePathRole).toString();
        if (!path.isEmpty())
            openFile(path);
    });
}

void TaskList::setUpColumns()
{
    QHeaderView *header = m_tree->header();
    header->setDefaultAlignment(Qt::AlignCenter);
    for (int column = 0; column < m_tree->columnCount(); ++column)
        m_tree->headerItem()->setTextAlignment(column, Qt::AlignCenter);
    header->setStretchLastSection(false);
    header->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    // Without it, every new row has the heights of all others asked for again.
    m_tree->setUniformRowHeights(true);
    // Wide enough for the header's text and for the longest content that is usual.
    const QVector<QPair<int, QString>> usual{{IdColumn, QStringLiteral("000")},
                                             {DurationColumn, QStringLiteral("00:00:00")},
                                             {SizeColumn, QStringLiteral("1024.00MB")},
                                             {DownloadedColumn, QStringLiteral("1024.00MB")}};
    m_tree->ensurePolished();
    for (const auto &[column, text] : usual)
        header->resizeSection(column, std::max(header->sectionSizeHint(column), cellWidth(text)));
    header->setMinimumSectionSize(header->sectionSizeHint(NameColumn));
}

void TaskList::setUpEmptyHint()
{
    m_emptyHint = new QLabel(tr("Press a button above, or drop an address here."), m_tree->viewport());
    m_emptyHint->setObjectName(QStringLiteral("emptyHint_label"));
    m_emptyHint->setAlignment(Qt::AlignCenter);
    m_emptyHint->setWordWrap(true);
    auto *layout = new QVBoxLayout(m_tree->viewport());
    layout->addWidget(m_emptyHint);
}

QTreeWidgetItem *TaskList::add(const VideoItem &video, const Meta &meta)
{
    auto *row = new QTreeWidgetItem(m_tree);
    const QString name = shownTitle(video.getTitle()) + QLatin1Char('.') + meta.getExtension();
    row->setData(IdColumn, Qt::DisplayRole, meta.getItag());
    row->setText(NameColumn, name);
    row->setToolTip(NameColumn, inertText(name));
    row->setText(DurationColumn, video.getLength());
    row->setText(SizeColumn, formatSize(meta.getSize()));
    row->setData(DownloadedColumn, Qt::DisplayRole, 0);
    for (const int column : {IdColumn, DurationColumn, SizeColumn, DownloadedColumn})
        row->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);

    auto *bar = new QProgressBar(m_tree);
    bar->setMaximum(10000);
    bar->setAccessibleName(tr("Progress of %1").arg(name));
    m_tree->setItemWidget(row, ProgressColumn, bar);
    m_emptyHint->hide();
    return row;
}

void TaskList::addLeftover(const QString &filePath)
{
    const QFileInfo file(filePath);
    auto *row = new QTreeWidgetItem(m_tree);
    row->setText(NameColumn, file.fileName());
    row->setText(SizeColumn, formatSize(file.size()));
    row->setTextAlignment(SizeColumn, Qt::AlignRight | Qt::AlignVCenter);
    row->setText(ProgressColumn, tr("Interrupted"));
    showFile(row, filePath);
    markIncomplete(row, tr("The application ended before the download did"));
    m_emptyHint->hide();
}

void TaskList::showStarted(QTreeWidgetItem *row)
{
    m_rates.try_emplace(row);
    if (!m_rateTimer.isActive())
        m_rateTimer.start(rateInterval, this);
}

void TaskList::showProgress(QTreeWidgetItem *row, qint64 received, qint64 total)
{
    row->setText(DownloadedColumn, formatSize(received));
    if (auto *bar = qobject_cast<QProgressBar *>(m_tree->itemWidget(row, ProgressColumn))) {
        bar->setMaximum(static_cast<int>(total));
        bar->setValue(static_cast<int>(received));
        showRate(row, *bar);
        bar->show();
    }
}

void TaskList::showRate(QTreeWidgetItem *row, QProgressBar &bar)
{
    const auto rate = m_rates.find(row);
    const QString text = rate != m_rates.end() ? rate->second.text(bar.value(), bar.maximum()) : QString();
    const bool fits = !text.isEmpty() && bar.fontMetrics().horizontalAdvance(text) < bar.width();
    bar.setFormat(fits ? text : QStringLiteral("%p%"));
}

// A transfer that stalls reports nothing, and would keep its last speed.
void TaskList::timerEvent(QTimerEvent * /*event*/)
{
    for (const auto &running : m_rates) {
        auto *bar = qobject_cast<QProgressBar *>(m_tree->itemWidget(running.first, ProgressColumn));
        if (bar && bar->value() > 0)
            showRate(running.first, *bar);
    }
    if (m_rates.empty())
        m_rateTimer.stop();
}

void TaskList::showNotStarted(QTreeWidgetItem *row, const QString &reason)
{
    const QString text = tr("The download did not start: %1").arg(reason.left(longestReason));
    row->setIcon(NameColumn, warningIcon());
    explain(row, NameColumn, row->text(NameColumn) + QLatin1Char('\n') + text);
    if (QWidget *bar = m_tree->itemWidget(row, ProgressColumn)) {
        bar->setToolTip(inertText(text));
        bar->setAccessibleDescription(text);
    }
}

void TaskList::showFinished(QTreeWidgetItem *row, const QString &filePath, const QString &failure)
{
    m_rates.erase(row);
    row->setText(ProgressColumn, tr("Finished"));
    m_tree->removeItemWidget(row, ProgressColumn);
    if (!filePath.isEmpty())
        showFile(row, filePath);
    if (failure.isEmpty())
        row->setIcon(ProgressColumn, QIcon(skinFile(QStringLiteral("row-finished.png"))));
    else
        markIncomplete(row, failure);
}

void TaskList::showFile(QTreeWidgetItem *row, const QString &filePath)
{
    row->setData(NameColumn, filePathRole, filePath);
    // The whole path: a video without a title has a file that many folders do not show.
    row->setToolTip(NameColumn, inertText(filePath));
}

void TaskList::markIncomplete(QTreeWidgetItem *row, const QString &reason)
{
    row->setIcon(ProgressColumn, warningIcon());
    explain(row, ProgressColumn, tr("The file is incomplete: %1").arg(reason));
}

QString TaskList::name(const QTreeWidgetItem *row)
{
    return row->text(NameColumn);
}

bool TaskList::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        fitProgressColumn();
    return QObject::eventFilter(watched, event);
}

// In a narrow window the progress column makes room for the name, down to the bare per cent.
void TaskList::fitProgressColumn()
{
    QHeaderView *header = m_tree->header();
    int room = m_tree->viewport()->width() - cellWidth(QStringLiteral("A name of a video"));
    for (const int column : {IdColumn, DurationColumn, SizeColumn, DownloadedColumn})
        room -= header->sectionSize(column);
    const int narrowest = std::max(header->sectionSizeHint(ProgressColumn), iconSpace + cellWidth(tr("Finished")));
    const int widest = std::max(narrowest, cellWidth(QStringLiteral("100%  1024.00MB/s  00:00:00")));
    header->resizeSection(ProgressColumn, std::clamp(room, narrowest, widest));
}

void TaskList::showRowMenu(const QPoint &pos)
{
    const QTreeWidgetItem *row = m_tree->itemAt(pos);
    const QString path = row ? row->data(NameColumn, filePathRole).toString() : QString();
    if (path.isEmpty())
        return;
    auto *menu = new QMenu(m_tree);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("Open File"), this, [path] { openFile(path); });
    menu->addAction(tr("Open Folder"), this, [path] { openFile(QFileInfo(path).absolutePath()); });
    menu->popup(m_tree->viewport()->mapToGlobal(pos));
}

int TaskList::cellWidth(const QString &text) const
{
    return m_tree->fontMetrics().horizontalAdvance(text) + 2 * cellPadding;
}
