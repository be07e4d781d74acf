// One download by the engine alone, with what it cost: fourfold-fetch ADDRESS FILE [SIZE]
// Prints one line of JSON: seconds of wall and processor time, bytes, and peak memory above what the idle process held.

#include "download/DownloadManager.h"
#include "support/ProcessFigures.h"
#include "youtube/Meta.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>

#include <cstdio>

#include <sys/resource.h>

namespace {

double processorSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 3) {
        std::fputs("usage: fourfold-fetch ADDRESS FILE [SIZE]\n", stderr);
        return 2;
    }
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));

    Meta meta;
    meta.setUrl(arguments.at(1));
    if (arguments.size() > 3)
        meta.setSize(arguments.at(3).toInt());
    else
        meta.findVideoSize();

    QObject page;
    ProcessFigures::resetPeak();
    const qint64 idleBytes = ProcessFigures::residentBytes();
    const double processorBefore = processorSeconds();
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

    std::printf(R"({"wall": %.3f, "processor": %.3f, "bytes": %lld, "peakAboveIdle": %lld, "whole": %s})"
                "\n",
                double(clock.nsecsElapsed()) / 1e9, processorSeconds() - processorBefore,
                static_cast<long long>(QFile(arguments.at(2)).size()),
                static_cast<long long>(ProcessFigures::peakResidentBytes() - idleBytes), isWhole ? "true" : "false");
    return isWhole ? 0 : 1;
}
