// What a turn of the window costs with that many finished downloads in its list: fourfold-tasklist ROWS...
// Prints one line for each count: processor milliseconds of adding a row to a list of a full page and to this one, of
// a progress update, and of scrolling a page.

#include "Figures.h"

#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "settings/CAppSetting.h"
#include "ui/DownloaderWidget.h"

#include <QApplication>
#include <QScrollBar>
#include <QTreeWidget>

#include <algorithm>
#include <vector>

namespace {

constexpr int repetitions = 15;
constexpr int fullPage = 20; // rows
constexpr qint64 streamSize = 100000000; // bytes

// The layouts and repaints that the action has asked for belong to it.
template <class Action> double turn(Action action)
{
    const double before = Figures::threadMilliseconds();
    action();
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
    // Outside of exec() nothing else deletes what has been left to the event loop.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return Figures::threadMilliseconds() - before;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

class Bench final
{
    Q_DISABLE_COPY_MOVE(Bench)

public:
    Bench()
    {
        m_window.showMainWindow();
        turn([] {});
    }

    [[nodiscard]] bool isPageFull() const { return m_list->verticalScrollBar()->maximum() > 0; }

    QTreeWidgetItem *add() { return m_page->addTask(m_video, m_meta); }

    void finish(QTreeWidgetItem *row)
    {
        if (!QMetaObject::invokeMethod(m_page, "finished", Q_ARG(void *, row)))
            qFatal("the page finishes no downloads");
    }

    void fill(int rows)
    {
        while (m_list->topLevelItemCount() < rows) {
            finish(add());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        m_list->scrollToTop();
        turn([] {});
    }

    double addOne()
    {
        QTreeWidgetItem *row = nullptr;
        const double time = turn([&] { row = add(); });
        finish(row);
        turn([] {});
        return time;
    }

    double progress()
    {
        QTreeWidgetItem *row = add();
        m_list->scrollToItem(row);
        turn([] {});
        std::vector<double> times;
        for (int i = 1; i <= repetitions; ++i) {
            times.push_back(turn([&] {
                QMetaObject::invokeMethod(m_page, "downloadProgress", Q_ARG(qint64, i * streamSize / 100),
                                          Q_ARG(qint64, streamSize), Q_ARG(void *, row));
            }));
        }
        finish(row);
        return median(times);
    }

    double scroll()
    {
        QScrollBar *bar = m_list->verticalScrollBar();
        std::vector<double> times;
        for (int i = 0; i < repetitions; ++i) {
            const int to = bar->value() + bar->pageStep() > bar->maximum() ? 0 : bar->value() + bar->pageStep();
            times.push_back(turn([&] { bar->setValue(to); }));
        }
        return median(times);
    }

    // In a window of its own, since rows stay.
    static double addOneToFullPage()
    {
        Bench bench;
        bench.fill(fullPage - 1);
        // What is done for the first time costs more.
        bench.addOne();
        if (!bench.isPageFull())
            qFatal("%d rows do not fill the page", fullPage);
        return bench.addOne();
    }

private:
    SkMainWindow m_window;
    DownloaderWidget *const m_page = m_window.findChild<DownloaderWidget *>();
    QTreeWidget *const m_list = m_window.findChild<QTreeWidget *>();
    const Meta m_meta = Meta(22, QStringLiteral("http://127.0.0.1/stream"));
    const VideoItem m_video = [] {
        VideoItem video;
        video.setTitle(QStringLiteral("A title of the usual length, neither short nor long"));
        video.setLength(QStringLiteral("00:10:00"));
        return video;
    }();
};

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    Skin::registerResource();
    Skin::applyStyleSheet();

    Bench bench;
    const QStringList counts = QCoreApplication::arguments().mid(1);
    for (const QString &count : counts) {
        bench.fill(count.toInt());
        std::vector<double> toFullPage;
        std::vector<double> added;
        // In turns, so that both meet the same state of the machine.
        for (int i = 0; i < repetitions; ++i) {
            toFullPage.push_back(Bench::addOneToFullPage());
            added.push_back(bench.addOne());
        }
        const double progress = bench.progress();
        Figures::print({{QStringLiteral("rows"), count.toInt()},
                        {QStringLiteral("addToFullPage"), median(toFullPage)},
                        {QStringLiteral("add"), median(added)},
                        {QStringLiteral("progress"), progress},
                        {QStringLiteral("scroll"), bench.scroll()}});
    }
    return 0;
}
