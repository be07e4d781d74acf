// One download by the engine alone, with what it cost: fourfold-fetch ADDRESS FILE [SIZE]

#include "Figures.h"
#include "ProcessFigures.h"
#include "Trust.h"

#include "download/DownloadManager.h"
#include "youtube/Meta.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Trust::benchmarkAuthority();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3) {
        std::fputs("usage: fourfold-fetch ADDRESS FILE [SIZE]\n", stderr);
        return 2;
    }
    Meta meta;
    meta.setUrl(arguments.at(1));
    if (arguments.size() > 3)
        meta.setSize(arguments.at(3).toInt());
    else
        meta.findVideoSize();

    // From the images of a window the C library learns to keep freed memory of that size; without one it would hand the
    // network's buffers back to the system piece by piece.
    QByteArray(4 * 1024 * 1024, Qt::Uninitialized).clear();

    QObject page;
    ProcessFigures::resetPeak();
    const qint64 idleBytes = ProcessFigures::residentBytes();
    const double processorBefore = Figures::processorSeconds();
    QElapsedTimer clock;
    clock.start();

    auto *manager = new DownloadManager(meta, arguments.at(2), &page, nullptr);
    bool isWhole = false;
    QObject::connect(manager, &DownloadManager::downloadCompleted, &page, [&] {
        isWhole = manager->failure().isEmpty();
        delete manager;
        QCoreApplication::quit();
    });
    manager->download();
    QCoreApplication::exec();

    Figures::print({{QStringLiteral("wall"), double(clock.nsecsElapsed()) / 1e9},
                    {QStringLiteral("processor"), Figures::processorSeconds() - processorBefore},
                    {QStringLiteral("bytes"), QFile(arguments.at(2)).size()},
                    {QStringLiteral("peakAboveIdle"), ProcessFigures::peakResidentBytes() - idleBytes},
                    {QStringLiteral("whole"), isWhole}});
    return isWhole ? 0 : 1;
}
