// Downloads in the real main window, one for each address, all at once: fourfold-window FOLDER ADDRESS...

#include "Figures.h"

#include "app/Skin.h"
#include "app/SkMainWindow.h"
#include "settings/CAppSetting.h"
#include "support/ProcessFigures.h"
#include "ui/DownloaderWidget.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <limits>

namespace {

constexpr int itag = 22;
constexpr int heartbeatInterval = 2; // milliseconds
constexpr int settlingTime = 300; // milliseconds
constexpr double longTurn = 50; // milliseconds

// Counts what is painted while it lives.
class PaintCounter final : public QObject
{
    Q_DISABLE_COPY_MOVE(PaintCounter)

public:
    explicit PaintCounter(QWidget &window)
        : m_window(window)
    {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest && watched == &m_window)
            ++frames;
        if (event->type() == QEvent::Paint && watched->isWidgetType())
            ++widgets;
        return false;
    }

    int frames = 0;
    int widgets = 0;

private:
    QWidget &m_window;
};

// Measures the turns of the event loop by how late a timer's ticks come.
class Heartbeat final : public QObject
{
    Q_DISABLE_COPY_MOVE(Heartbeat)

public:
    Heartbeat()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        connect(&m_timer, &QTimer::timeout, this, &Heartbeat::beat);
    }

    void start()
    {
        m_timer.start(heartbeatInterval);
        m_clock.start();
    }

    double longest = 0; // milliseconds
    int longTurns = 0;

private:
    void beat()
    {
        const double turn = double(m_clock.nsecsElapsed()) / 1e6 - heartbeatInterval;
        m_clock.start();
        longest = std::max(longest, turn);
        longTurns += turn > longTurn ? 1 : 0;
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
};

void settle()
{
    QEventLoop loop;
    QTimer::singleShot(settlingTime, &loop, &QEventLoop::quit);
    loop.exec();
}

VideoItem videoOf(const QString &address, int index)
{
    Meta meta(itag, address);
    meta.findVideoSize();
    VideoItem video;
    video.setTitle(QStringLiteral("video-%1").arg(index));
    video.setLength(QStringLiteral("00:10:00"));
    video.setAvailaibleFormats({meta});
    return video;
}

int wholeRows(const QTreeWidget &list)
{
    int whole = 0;
    const int progressColumn = list.columnCount() - 1;
    for (int i = 0; i < list.topLevelItemCount(); ++i)
        whole += list.topLevelItem(i)->toolTip(progressColumn).isEmpty() ? 1 : 0;
    return whole;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fputs("usage: fourfold-window FOLDER ADDRESS...\n", stderr);
        return 2;
    }
    CAppSetting::instance()->outputPath = arguments.at(1);
    Skin::registerResource();
    Skin::applyStyleSheet();
    SkMainWindow window;
    window.showMainWindow();
    auto *page = window.findChild<DownloaderWidget *>();
    settle();
    // Before the first request, whose network access is part of what a download costs.
    ProcessFigures::resetPeak();
    const qint64 idleBytes = ProcessFigures::residentBytes();

    QVector<VideoItem> videos;
    for (int i = 2; i < arguments.size(); ++i)
        videos.append(videoOf(arguments.at(i), i - 1));

    PaintCounter paints(window);
    Heartbeat heartbeat;
    const double processorBefore = Figures::processorSeconds();
    QElapsedTimer clock;
    clock.start();
    heartbeat.start();
    for (const VideoItem &video : qAsConst(videos))
        QMetaObject::invokeMethod(page, "onStartDownload", Q_ARG(VideoItem, video), Q_ARG(int, itag));

    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, page, [page] {
        if (!page->isDownloading())
            QCoreApplication::quit();
    });
    watch.start(heartbeatInterval);
    QApplication::exec();

    const int whole = wholeRows(*window.findChild<QTreeWidget *>());
    Figures::print({{QStringLiteral("wall"), double(clock.nsecsElapsed()) / 1e9},
                    {QStringLiteral("processor"), Figures::processorSeconds() - processorBefore},
                    {QStringLiteral("idle"), idleBytes},
                    {QStringLiteral("peakAboveIdle"), ProcessFigures::peakResidentBytes() - idleBytes},
                    {QStringLiteral("longestTurn"), heartbeat.longest},
                    {QStringLiteral("longTurns"), heartbeat.longTurns},
                    {QStringLiteral("frames"), paints.frames},
                    {QStringLiteral("paints"), paints.widgets}});
    return whole == videos.size() ? 0 : 1;
}
