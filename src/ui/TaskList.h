#pragma once

#include "ui/TransferRate.h"

#include <QBasicTimer>
#include <QObject>
#include <QString>

#include <map>

class Meta;
class QLabel;
class QPoint;
class QProgressBar;
class QTreeWidget;
class QTreeWidgetItem;
class VideoItem;

// The rows of the task list page: what they hold, how they look from their start to their end, and what a person can do
// with them. Works on the page's own tree, which owns the rows and must outlive the list.
class TaskList final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TaskList)

public:
    explicit TaskList(QTreeWidget *tree);

    // Appends the row of a new download, with an empty bar.
    QTreeWidgetItem *add(const VideoItem &video, const Meta &meta);
    // Appends the row of a file that an earlier run of the application has left incomplete.
    void addLeftover(const QString &filePath);

    // From now on the row's progress tells its speed, too.
    void showStarted(QTreeWidgetItem *row);
    // Bytes so far and in all (0 where that is not known).
    void showProgress(QTreeWidgetItem *row, qint64 received, qint64 total);
    // The bar stays empty for ever, for this reason in words for a person.
    void showNotStarted(QTreeWidgetItem *row, const QString &reason);
    // The file can be opened from the row now. The failure tells why it is incomplete; empty when it is whole.
    void showFinished(QTreeWidgetItem *row, const QString &filePath, const QString &failure);

    // What stands in the column "Name".
    [[nodiscard]] static QString name(const QTreeWidgetItem *row);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    enum Column { IdColumn, NameColumn, DurationColumn, SizeColumn, DownloadedColumn, ProgressColumn };

    void setUpColumns();
    void setUpEmptyHint();
    void fitProgressColumn();
    void showRate(QTreeWidgetItem *row, QProgressBar &bar);
    void showFile(QTreeWidgetItem *row, const QString &filePath);
    void markIncomplete(QTreeWidgetItem *row, const QString &reason);
    void showRowMenu(const QPoint &pos);
    [[nodiscard]] int cellWidth(const QString &text) const;

    QTreeWidget *const m_tree;
    QLabel *m_emptyHint = nullptr; // owned by the tree
    std::map<QTreeWidgetItem *, TransferRate> m_rates; // of running downloads
    QBasicTimer m_rateTimer; // while there are any
};
