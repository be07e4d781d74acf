// Downloads in the real main window, one for each address, all at once: fourfold-window FOLDER ADDRESS...

#include "app/ProcessSetup.h"
#include "Figures.h"
#include "PaintCounter.h"
#include "ProcessFigures.h"
#include "RealWindow.h"
#include "Trust.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int heartbeatInterval = 2; // milliseconds
constexpr double longTurn = 50; // milliseconds

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

} // namespace

int main(int argc, char *argv[])
{
    ProcessSetup::prepare();
    const QApplication application(argc, argv);
    Trust::benchmarkAuthority();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fputs("usage: fourfold-window FOLDER ADDRESS...\n", stderr);
        return 2;
    }
    RealWindow window(arguments.at(1));
    // Before the first request, whose network access is part of what a download costs.
    ProcessFigures::resetPeak();
    const qint64 idleBytes = ProcessFigures::residentBytes();

    QVector<VideoItem> videos;
    for (int i = 2; i < arguments.size(); ++i)
        videos.append(RealWindow::video(arguments.at(i), i - 1));

    PaintCounter paints(window.window());
    Heartbeat heartbeat;
    const double processorBefore = Figures::processorSeconds();
    QElapsedTimer clock;
    clock.start();
    heartbeat.start();
    for (const VideoItem &video : qAsConst(videos))
        window.startDownload(video);
    window.waitForDownloads();

    Figures::print({{QStringLiteral("wall"), double(clock.nsecsElapsed()) / 1e9},
                    {QStringLiteral("processor"), Figures::processorSeconds() - processorBefore},
                    {QStringLiteral("idle"), idleBytes},
                    {QStringLiteral("peakAboveIdle"), ProcessFigures::peakResidentBytes() - idleBytes},
                    {QStringLiteral("longestTurn"), heartbeat.longest},
                    {QStringLiteral("longTurns"), heartbeat.longTurns},
                    {QStringLiteral("frames"), paints.frames},
                    {QStringLiteral("paints"), paints.widgets}});
    return window.wholeDownloads() == videos.size() ? 0 : 1;
}
