// Downloads and analyses over and over in one process, and tells what the process holds meanwhile:
//   fourfold-soak [DOWNLOADS [ANALYSES]]     1000 and 200 by default
// Threads and descriptors at the end must be those of the start, and memory nearly so. The demo site runs in a process
// of its own, so the figures are the client's alone.

#include "DemoSite.h"
#include "download/DownloadManager.h"
#include "support/ProcessFigures.h"
#include "youtube/Youtube.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QLoggingCategory>
#include <QProcess>
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
constexpr qint64 toleratedGrowth = 2 * 1024 * 1024; // bytes
constexpr int limit = 60000; // milliseconds for one batch

// Freed memory is kept back by the sanitizers.
#ifdef __SANITIZE_ADDRESS__
constexpr bool memoryTells = false;
#else
constexpr bool memoryTells = true;
#endif

struct Figures
{
    int threads = ProcessFigures::threads();
    int descriptors = ProcessFigures::descriptors();
    qint64 bytes = ProcessFigures::residentBytes();
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
    Soak()
    {
        m_site.start(QStringLiteral(FOURFOLD_DEMOSITE), {QStringLiteral("--port"), QStringLiteral("0")});
        const QString greeting = QStringLiteral("Demo site: ");
        QString line;
        while (!line.startsWith(greeting)) {
            if (!m_site.canReadLine() && !m_site.waitForReadyRead(limit))
                fail(QStringLiteral("The demo site does not start."));
            line = QString::fromUtf8(m_site.readLine());
        }
        m_address = line.mid(greeting.size()).section(QLatin1Char('/'), 0, 2);
    }
    ~Soak()
    {
        m_site.terminate();
        m_site.waitForFinished();
    }

    void play(int downloads, int analyses)
    {
        const int batches = (downloads + downloadsAtOnce - 1) / downloadsAtOnce;
        int analysed = 0;
        for (int batch = 0; batch < batches; ++batch) {
            download(std::min(downloadsAtOnce, downloads - batch * downloadsAtOnce));
            for (; analysed < (batch + 1) * analyses / batches; ++analysed)
                analyse(analysed % 10 == 9);
            if ((batch + 1) * 10 / batches > batch * 10 / batches)
                tell(std::min((batch + 1) * downloadsAtOnce, downloads), analysed, Figures());
        }
    }

    // The figures when whatever was on its way has come to its end; a connection closes a little after its reply.
    [[nodiscard]] static Figures settled(const Figures &expected)
    {
        const QDeadlineTimer deadline(10000);
        Figures figures;
        while ((figures.threads > expected.threads || figures.descriptors > expected.descriptors)
               && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 100);
            figures = Figures();
        }
        return figures;
    }

    static void tell(int downloads, int analyses, const Figures &figures)
    {
        std::printf("%5d downloads  %4d analyses  %3d threads  %3d descriptors  %7lld KiB\n", downloads, analyses,
                    figures.threads, figures.descriptors, static_cast<long long>(figures.bytes / 1024));
        std::fflush(stdout);
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
            meta.setUrl(QStringLiteral("%1/stream?size=%2&seed=%3").arg(m_address).arg(one.size).arg(one.seed));
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
        QTimer::singleShot(limit, &loop, [] { fail(QStringLiteral("Downloads do not end.")); });
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
        QUrl address(m_address
                     + (isPlaylist ? QStringLiteral("/playlist?list=DEMO") : QStringLiteral("/watch?v=testcard-01")));
        qputenv("FOURFOLD_SITE", m_address.toUtf8());
        const QString error = isPlaylist ? analyser.downloadPlaylist(address) : analyser.downloadVideo(address);
        if (!error.isEmpty() || formats == 0)
            fail(QStringLiteral("An analysis found nothing. ") + error);
    }

    QProcess m_site;
    QString m_address;
    QTemporaryDir m_folder;
    QObject m_page;
    int m_downloads = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    const QStringList arguments = QCoreApplication::arguments();
    const int downloads = arguments.value(1, QStringLiteral("1000")).toInt();
    const int analyses = arguments.value(2, QStringLiteral("200")).toInt();

    Soak soak;
    std::puts("Warming up");
    soak.play(warmUpDownloads, warmUpAnalyses);
    const Figures start;
    std::puts("At the start");
    Soak::tell(0, 0, start);
    QElapsedTimer clock;
    clock.start();
    soak.play(downloads, analyses);
    const Figures end = Soak::settled(start);
    std::puts("At the end");
    Soak::tell(downloads, analyses, end);
    std::printf("%.1f seconds\n", double(clock.elapsed()) / 1000);

    const bool grew = memoryTells && end.bytes > start.bytes + toleratedGrowth;
    if (end.threads <= start.threads && end.descriptors <= start.descriptors && !grew)
        return 0;
    std::puts("The process holds more than at the start.");
    return 1;
}
