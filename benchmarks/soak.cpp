// Downloads and analyses over and over in one process: fourfold-soak DOWNLOADS ANALYSES SITE...
// The sites, all of them the demo site, take the downloads in turns; the first one is analysed. Prints what the process
// holds after it has warmed up, and at the end.

#include "DemoSite.h"
#include "Figures.h"
#include "ProcessFigures.h"
#include "Trust.h"

#include "download/DownloadManager.h"
#include "youtube/Youtube.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int downloadsAtOnce = 8;
// The allocator takes its share of memory for every core and thread before it stops growing.
constexpr int warmUpDownloads = 160;
constexpr int warmUpAnalyses = 20;
constexpr int limit = 60000; // milliseconds for one batch

struct Held
{
    int threads = ProcessFigures::threads();
    int descriptors = ProcessFigures::descriptors();
    qint64 resident = ProcessFigures::residentBytes();
    qint64 allocated = ProcessFigures::allocatedBytes();
};

[[noreturn]] void fail(const QString &reason)
{
    std::fputs(qPrintable(reason + QLatin1Char('\n')), stderr);
    std::exit(1);
}

class Soak final
{
    Q_DISABLE_COPY_MOVE(Soak)

public:
    explicit Soak(const QStringList &sites)
        : m_sites(sites)
    {
        qputenv("FOURFOLD_SITE", m_sites.constFirst().toUtf8());
    }

    void play(int downloads, int analyses)
    {
        const int batches = (downloads + downloadsAtOnce - 1) / downloadsAtOnce;
        int analysed = 0;
        for (int batch = 0; batch < batches; ++batch) {
            download(std::min(downloadsAtOnce, downloads - batch * downloadsAtOnce));
            for (; analysed < (batch + 1) * analyses / batches; ++analysed)
                analyse(analysed % 10 == 9);
        }
    }

    // What is held when whatever was on its way has come to its end; a connection closes a little after its reply.
    [[nodiscard]] static Held settled(const Held &expected)
    {
        const QDeadlineTimer deadline(10000);
        Held held;
        while ((held.threads > expected.threads || held.descriptors > expected.descriptors) && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 100);
            held = Held();
        }
        return held;
    }

    static void tell(const Held &held)
    {
        Figures::print({{QStringLiteral("threads"), held.threads},
                        {QStringLiteral("descriptors"), held.descriptors},
                        {QStringLiteral("resident"), held.resident},
                        {QStringLiteral("allocated"), held.allocated}});
    }

private:
    struct Running
    {
        QString path;
        quint64 seed;
        int size;
    };

    void download(int count)
    {
        QEventLoop loop;
        int finished = 0;
        QVector<Running> running;
        for (int i = 0; i < count; ++i) {
            ++m_downloads;
            const Running one{m_folder.filePath(QString::number(i)), quint64(m_downloads),
                              1 + int(m_downloads * 7919LL % 1000003)};
            running += one;
            Meta meta;
            meta.setUrl(QStringLiteral("%1/stream?size=%2&seed=%3")
                            .arg(m_sites.at(m_downloads % m_sites.size()), QString::number(one.size),
                                 QString::number(one.seed)));
            meta.setSize(one.size);
            auto *manager = new DownloadManager(meta, one.path, &m_page, nullptr);
            QObject::connect(manager, &DownloadManager::downloadCompleted, &loop, [&loop, &finished, manager, count] {
                if (!manager->failure().isEmpty())
                    fail(manager->failure());
                delete manager;
                if (++finished == count)
                    loop.quit();
            });
            manager->download();
        }
        QTimer watchdog;
        QObject::connect(&watchdog, &QTimer::timeout, [] { fail(QStringLiteral("Downloads do not end.")); });
        watchdog.start(limit);
        loop.exec();
        for (const Running &one : qAsConst(running)) {
            QFile file(one.path);
            QCryptographicHash hash(QCryptographicHash::Sha256);
            if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)
                || hash.result().toHex() != DemoSite::streamSha256(one.seed, one.size))
                fail(QStringLiteral("A download is not what the site sent."));
        }
    }

    void analyse(bool isPlaylist)
    {
        Youtube analyser;
        int formats = 0;
        QObject::connect(&analyser, &Youtube::videoDataDownloaded,
                         [&formats](const VideoItem &video) { formats += video.getAvailaibleFormats().size(); });
        QObject::connect(&analyser, &Youtube::playlistDataDownloaded, [&formats](const QVector<VideoItem> &videos) {
            for (const VideoItem &video : videos)
                formats += video.getAvailaibleFormats().size();
        });
        QUrl address(m_sites.constFirst()
                     + (isPlaylist ? QStringLiteral("/playlist?list=DEMO") : QStringLiteral("/watch?v=testcard-01")));
        const QString error = isPlaylist ? analyser.downloadPlaylist(address) : analyser.downloadVideo(address);
        if (!error.isEmpty() || formats == 0)
            fail(QStringLiteral("An analysis found nothing. ") + error);
    }

    const QStringList m_sites;
    QTemporaryDir m_folder;
    QObject m_page;
    int m_downloads = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Trust::benchmarkAuthority();
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 4)
        fail(QStringLiteral("usage: fourfold-soak DOWNLOADS ANALYSES SITE..."));
    Soak soak(arguments.mid(3));
    soak.play(warmUpDownloads, warmUpAnalyses);
    const Held start;
    Soak::tell(start);
    soak.play(arguments.at(1).toInt(), arguments.at(2).toInt());
    Soak::tell(Soak::settled(start));
    return 0;
}
