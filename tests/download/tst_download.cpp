#include "DemoSite.h"
#include "download/ContentRange.h"
#include "download/DownloaderThread.h"
#include "download/DownloadManager.h"
#include "support/FaultServer.h"
#include "support/ProcessFigures.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>
#include <vector>

#include <csignal>
#include <sys/resource.h>

namespace {

constexpr quint64 seed = 4;

Meta streamMeta(const QString &address, int size)
{
    Meta meta;
    meta.setUrl(address);
    meta.setSize(size);
    return meta;
}

// Runs one download to its end and keeps what it told on the way.
class Download final
{
public:
    // The inactivity limit (milliseconds) of the manager is for real networks; a fault is not waited for that long.
    Download(const Meta &meta, const QString &path, int inactivityLimit = 60000)
        : m_manager(std::make_unique<DownloadManager>(meta, path, &m_page, this))
    {
        m_page.findChild<QNetworkAccessManager *>()->setTransferTimeout(inactivityLimit);
        QObject::connect(m_manager.get(), &DownloadManager::progress, &m_page,
                         [this](qint64 received, qint64, void *tag) {
                             QVERIFY(received > m_received);
                             QCOMPARE(tag, static_cast<void *>(this));
                             m_received = received;
                         });
        QObject::connect(m_manager.get(), &DownloadManager::downloadCompleted, &m_page, [this] {
            ++m_completions;
            m_failure = m_manager->failure();
            // As the page does: the manager goes inside its own signal.
            delete m_manager.release();
        });
        m_manager->download();
        m_completionsInside = m_completions;
    }

    [[nodiscard]] int completions() const { return m_completions; }
    [[nodiscard]] int completionsInside() const { return m_completionsInside; }
    [[nodiscard]] qint64 received() const { return m_received; }
    [[nodiscard]] QString failure() const { return m_failure; }

private:
    QObject m_page;
    std::unique_ptr<DownloadManager> m_manager;
    int m_completions = 0;
    int m_completionsInside = 0;
    qint64 m_received = 0;
    QString m_failure;
};

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

QByteArray sha256(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return "unreadable";
    return hash.result().toHex();
}

QByteArrayList quarterHashes(const QByteArray &bytes)
{
    const int chunk = bytes.size() / 4;
    QByteArrayList hashes;
    for (int i = 0; i < 4; ++i)
        hashes +=
            QCryptographicHash::hash(bytes.mid(i * chunk, i == 3 ? -1 : chunk), QCryptographicHash::Sha256).toHex();
    return hashes;
}

} // namespace

class TestDownload final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_site.start(), qPrintable(m_site.errorString()));
        QVERIFY(m_folder.isValid());
        m_path = m_folder.filePath(QStringLiteral("out.mp4"));
        // The first download loads what the network stack keeps for the life of the process.
        Download first(streamMeta(m_site.address() + QStringLiteral("/stream?size=4&seed=4"), 4), m_path);
        QTRY_COMPARE(first.completions(), 1);
        m_idleDescriptors = ProcessFigures::descriptors();
        m_idleThreads = ProcessFigures::threads();
    }
    void init()
    {
        m_site.clearRequests();
        QFile::remove(m_path);
    }

    // Whatever a test did, it leaves nothing behind; the site closes its side of a connection a little later.
    void cleanup()
    {
        QTRY_VERIFY(ProcessFigures::descriptors() <= m_idleDescriptors);
        QTRY_VERIFY(ProcessFigures::threads() <= m_idleThreads);
    }

    void contentRange_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<bool>("isValid");
        QTest::addColumn<qint64>("first");
        QTest::addColumn<qint64>("total");

        QTest::newRow("whole") << QByteArray("bytes 0-99/100") << true << 0LL << 100LL;
        QTest::newRow("total unknown") << QByteArray("bytes 5-9/*") << true << 5LL << -1LL;
        QTest::newRow("unsatisfied") << QByteArray("bytes */100") << true << -1LL << 100LL;
        QTest::newRow("beyond 32 bits") << QByteArray("Bytes  4294967296-4294967299/5000000000") << true << 4294967296LL
                                        << 5000000000LL;
        QTest::newRow("missing") << QByteArray() << false << 0LL << 0LL;
        QTest::newRow("other unit") << QByteArray("lines 0-9/10") << false << 0LL << 0LL;
        QTest::newRow("backwards") << QByteArray("bytes 9-0/10") << false << 0LL << 0LL;
        QTest::newRow("beyond the total") << QByteArray("bytes 0-10/10") << false << 0LL << 0LL;
        QTest::newRow("negative") << QByteArray("bytes -5-9/10") << false << 0LL << 0LL;
        QTest::newRow("nothing known") << QByteArray("bytes */*") << false << 0LL << 0LL;
        QTest::newRow("beyond 64 bits") << QByteArray("bytes 0-9/99999999999999999999") << false << 0LL << 0LL;
    }
    void contentRange()
    {
        QFETCH(QByteArray, header);
        QFETCH(qint64, first);
        QFETCH(qint64, total);
        const auto range = ContentRange::parse(header);
        QTEST(range.has_value(), "isValid");
        if (range) {
            QCOMPARE(range->first.value_or(-1), first);
            QCOMPARE(range->total.value_or(-1), total);
        }
    }

    void arrivesIntact_data()
    {
        QTest::addColumn<qint64>("streamSize");
        QTest::addColumn<int>("knownSize");
        QTest::addColumn<QStringList>("ranges");

        const auto quarters = [](const char *a, const char *b, const char *c, const char *d) {
            return QStringList{QLatin1String(a), QLatin1String(b), QLatin1String(c), QLatin1String(d)};
        };
        QTest::newRow("divisible by four")
            << 400000LL << 400000
            << quarters("bytes=0-99999", "bytes=100000-199999", "bytes=200000-299999", "bytes=300000-399999");
        QTest::newRow("with a remainder")
            << 10000003LL << 10000003
            << quarters("bytes=0-2499999", "bytes=2500000-4999999", "bytes=5000000-7499999", "bytes=7500000-10000002");
        QTest::newRow("four bytes") << 4LL << 4 << quarters("bytes=0-0", "bytes=1-1", "bytes=2-2", "bytes=3-3");
        QTest::newRow("three bytes") << 3LL << 3 << QStringList{QStringLiteral("bytes=0-2")};
        QTest::newRow("one byte") << 1LL << 1 << QStringList{QStringLiteral("bytes=0-0")};
        QTest::newRow("size unknown") << 300001LL << 0 << QStringList{QStringLiteral("bytes=0-")};
    }
    void arrivesIntact()
    {
        QFETCH(qint64, streamSize);
        QFETCH(int, knownSize);
        const QString address =
            QStringLiteral("%1/stream?size=%2&seed=%3").arg(m_site.address()).arg(streamSize).arg(seed);

        Download download(streamMeta(address, knownSize), m_path);
        QCOMPARE(QFile(m_path).size(), qint64(knownSize));
        QTRY_COMPARE(download.completions(), 1);
        QCOMPARE(download.completionsInside(), 0);
        QCOMPARE(download.failure(), QString());
        QCOMPARE(download.received(), streamSize);
        QCOMPARE(QFile(m_path).size(), streamSize);
        QCOMPARE(sha256(m_path), DemoSite::streamSha256(seed, quint64(streamSize)));

        QStringList ranges;
        for (const auto &request : m_site.requests())
            ranges += QString::fromLatin1(request.header("Range"));
        ranges.sort();
        QTEST(ranges, "ranges");
    }

    // What a fault in the second quarter leaves: the other quarters are always whole.
    void survivesFaults_data()
    {
        using Fault = FaultServer::Fault;
        QTest::addColumn<int>("fault");
        QTest::addColumn<int>("times");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("bytesOfQuarter"); // 25000 is all of it
        QTest::addColumn<int>("requests"); // for the quarter; 0 where Qt itself may ask again
        QTest::addColumn<QString>("failure");

        const auto row = [](const char *name, Fault fault, int times, int bytes, int requests, const char *failure = "",
                            int status = 0) {
            QTest::newRow(name) << int(fault) << times << status << bytes << requests << QString::fromLatin1(failure);
        };
        constexpr int always = 1000;
        constexpr int whole = 25000;
        row("refused once", Fault::Refuse, 1, whole, 0);
        row("refused always", Fault::Refuse, always, 0, 0, "closed");
        row("reset in the middle", Fault::Reset, 1, whole, 2);
        row("cut off once", Fault::CutOff, 1, whole, 2);
        row("cut off again and again", Fault::CutOff, 8, whole, 9);
        row("stops sending once", Fault::Stall, 1, whole, 2);
        row("never answers", Fault::Silence, always, 0, 3, "did not answer");
        row("byte by byte", Fault::ByteByByte, 1, whole, 1);
        row("whole stream in place of the range", Fault::WholeStream, 1, whole, 1);
        row("another range", Fault::WrongStart, always, 0, 1, "another part");
        row("fewer bytes once", Fault::FewerBytes, 1, whole, 2);
        row("more bytes", Fault::MoreBytes, 1, whole, 1);
        row("no Content-Range", Fault::NoContentRange, always, 0, 1, "another part");
        row("gzip that nobody asked for", Fault::Gzip, always, 0, 1, "encoding");
        row("no length", Fault::NoLength, 1, whole, 1);
        row("length too short", Fault::ShortLength, 1, whole, 2);
        row("length too long", Fault::LongLength, 1, whole, 1);
        row("changed stream", Fault::ChangedStream, always, 0, 1, "changed");
        row("page in place of the stream", Fault::HtmlPage, always, 0, 1, "changed");
        for (const int status : {302, 403, 404, 410, 416, 429, 500, 503}) {
            QTest::addRow("status %d", status)
                << int(Fault::Status) << always << status << 0 << 1 << QStringLiteral("answered %1 Sorry").arg(status);
        }
        row("redirect to itself", Fault::SelfRedirect, always, 0, 1, "answered 302");
        row("redirect without an address", Fault::EmptyRedirect, always, 0, 1, "answered 302");
    }
    void survivesFaults()
    {
        QFETCH(int, fault);
        QFETCH(int, times);
        QFETCH(int, status);
        QFETCH(int, bytesOfQuarter);
        QFETCH(int, requests);
        QFETCH(QString, failure);
        constexpr int quarter = 25000;
        const QByteArray stream = DemoSite::streamBytes(seed, 0, 4 * quarter);
        FaultServer server(stream);
        server.setStatus(status, status == 302 ? "Location: elsewhere\r\n" : "");
        server.setFault(FaultServer::Fault(fault), quarter, 2 * quarter - 1, times);
        const int missing = quarter - bytesOfQuarter;
        if (missing > 0) {
            const QString warning =
                QStringLiteral("ended short: %1 bytes are missing: .*%2").arg(QString::number(missing), failure);
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(warning));
        }

        Download download(streamMeta(server.address(), stream.size()), m_path, 300);
        QTRY_COMPARE_WITH_TIMEOUT(download.completions(), 1, 20000);
        QCOMPARE(download.completionsInside(), 0);
        QCOMPARE(download.received(), qint64(stream.size() - missing));
        QVERIFY2(download.failure().contains(failure), qPrintable(download.failure()));
        QCOMPARE(download.failure().isEmpty(), missing == 0);
        const QByteArray expected =
            stream.left(quarter + bytesOfQuarter) + QByteArray(missing, '\0') + stream.mid(2 * quarter);
        QCOMPARE(quarterHashes(contents(m_path)), quarterHashes(expected));
        const auto &all = server.requests();
        const auto isAboutTheQuarter = [](const FaultServer::Request &request) {
            return request.first >= quarter && request.first < 2 * quarter;
        };
        if (requests > 0)
            QCOMPARE(int(std::count_if(all.begin(), all.end(), isAboutTheQuarter)), requests);
        // Nothing comes after the end.
        QTest::qWait(0);
        QCOMPARE(download.completions(), 1);
    }

    void trustsNoSelfSignedCertificate()
    {
        FaultServer server(DemoSite::streamBytes(seed, 0, 4000));
        server.useTls();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("4000 bytes are missing: SSL handshake")));
        Download download(streamMeta(server.address(), 4000), m_path);
        QTRY_COMPARE(download.completions(), 1);
        QVERIFY(contents(m_path) == QByteArray(4000, '\0'));
        QVERIFY(server.requests().isEmpty());
    }

    void hugeHeadersNeverHang()
    {
        const QByteArray stream = DemoSite::streamBytes(seed, 0, 4000);
        FaultServer server(stream);
        server.setFault(FaultServer::Fault::HugeHeaders, 0, 4000, 1000);
        Download download(streamMeta(server.address(), stream.size()), m_path);
        QTRY_COMPARE_WITH_TIMEOUT(download.completions(), 1, 20000);
        QCOMPARE(download.failure().isEmpty(), contents(m_path) == stream);
    }

    // A server that ignores ranges altogether still gives a whole file, from four whole answers.
    void serverWithoutRanges()
    {
        const QByteArray stream = DemoSite::streamBytes(seed, 0, 2000003);
        FaultServer server(stream);
        server.setFault(FaultServer::Fault::WholeStream, 0, stream.size(), 1000);
        Download download(streamMeta(server.address(), stream.size()), m_path);
        QTRY_COMPARE(download.completions(), 1);
        QCOMPARE(download.failure(), QString());
        QVERIFY(contents(m_path) == stream);
    }

    void unknownSizeGoesOnWhereItWasCut()
    {
        const QByteArray stream = DemoSite::streamBytes(seed, 0, 100000);
        FaultServer server(stream);
        server.setFault(FaultServer::Fault::CutOff, 0, 0, 1);
        Download download(streamMeta(server.address(), 0), m_path);
        QTRY_COMPARE(download.completions(), 1);
        QCOMPARE(download.failure(), QString());
        QVERIFY(contents(m_path) == stream);
        QCOMPARE(server.requests().last().headers.value("range"), QByteArray("bytes=50000-"));
    }

    void emptyStreamOfUnknownSize()
    {
        FaultServer server({});
        Download download(streamMeta(server.address(), 0), m_path);
        QTRY_COMPARE(download.completions(), 1);
        QCOMPARE(download.failure(), QString());
        QCOMPARE(QFile(m_path).size(), 0LL);
    }

    void unusableOutput_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing folder") << QStringLiteral("/nonexistent/out.mp4");
        QTest::newRow("a folder") << QStringLiteral("/");
    }
    void unusableOutput()
    {
        QFETCH(QString, path);
        const QString address = m_site.address() + QStringLiteral("/stream?size=400000&seed=4");
        Download download(streamMeta(address, 400000), path);
        QTRY_COMPARE(download.completions(), 1);
        QCOMPARE(download.completionsInside(), 0);
        QVERIFY(!download.failure().isEmpty());
        QCOMPARE(download.received(), 0LL);
    }

    void diskThatTakesNoMore()
    {
        const QString address = m_site.address() + QStringLiteral("/stream?size=400000&seed=4");
        rlimit unlimited{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
        rlimit limited = unlimited;
        limited.rlim_cur = 250000;
        signal(SIGXFSZ, SIG_IGN);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &limited), 0);
        Download download(streamMeta(address, 400000), m_path);
        QTRY_COMPARE(download.completions(), 1);
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
        QVERIFY2(download.failure().contains(QStringLiteral("File too large")), qPrintable(download.failure()));
        QVERIFY(contents(m_path) == DemoSite::streamBytes(seed, 0, download.received()));
        QVERIFY(download.received() > 200000 && download.received() <= 250000);
    }

    // Qt's network thread would take the process with it.
    void descriptorsRunOut()
    {
        const QString address = m_site.address() + QStringLiteral("/stream?size=400000&seed=4");
        rlimit unlimited{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &unlimited), 0);
        for (int spare = 0; spare < 24; ++spare) {
            rlimit limited = unlimited;
            limited.rlim_cur = rlim_t(m_idleDescriptors + spare);
            QCOMPARE(setrlimit(RLIMIT_NOFILE, &limited), 0);
            Download download(streamMeta(address, 400000), m_path);
            QTRY_COMPARE(download.completions(), 1);
            QCOMPARE(setrlimit(RLIMIT_NOFILE, &unlimited), 0);
            const bool isWhole = sha256(m_path) == DemoSite::streamSha256(seed, 400000);
            QCOMPARE(download.failure().isEmpty(), isWhole);
            cleanup();
        }
    }

    void fileRemovedDuringTheDownload()
    {
        const QString address = m_site.address() + QStringLiteral("/stream?size=400000&seed=4&rate=200000");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("400000 bytes are missing: .*removed")));
        Download download(streamMeta(address, 400000), m_path);
        QTRY_VERIFY(download.received() > 0);
        QVERIFY(QFile::remove(m_path));
        QTRY_COMPARE(download.completions(), 1);
        QVERIFY(!download.failure().isEmpty());
        QVERIFY(!QFile::exists(m_path));
    }

    void fourTimesTheSpeedOfOneConnection()
    {
        // One connection alone would need two seconds for this.
        const QString address = m_site.address() + QStringLiteral("/stream?size=2000000&seed=4&rate=1000000");
        QElapsedTimer clock;
        clock.start();
        Download download(streamMeta(address, 2000000), m_path);
        QTRY_COMPARE_WITH_TIMEOUT(download.completions(), 1, 20000);
        QVERIFY2(clock.elapsed() < 2000 / 2, qPrintable(QString::number(clock.elapsed())));
    }

    void releasesEverything()
    {
        const auto round = [this] {
            std::vector<std::unique_ptr<Download>> downloads;
            for (int i = 0; i < 10; ++i) {
                const QString address = QStringLiteral("%1/stream?size=400003&seed=%2").arg(m_site.address()).arg(i);
                downloads.push_back(
                    std::make_unique<Download>(streamMeta(address, 400003), m_folder.filePath(QString::number(i))));
            }
            for (int i = 0; i < 10; ++i) {
                QTRY_COMPARE(downloads[size_t(i)]->completions(), 1);
                QCOMPARE(sha256(m_folder.filePath(QString::number(i))), DemoSite::streamSha256(quint64(i), 400003));
            }
        };
        round();
    }

    void pageMayGoWhileItDownloads()
    {
        const QString address = m_site.address() + QStringLiteral("/stream?size=4000000&seed=4&rate=100000");
        {
            QObject page;
            auto manager = std::make_unique<DownloadManager>(streamMeta(address, 4000000), m_path, &page, nullptr);
            QSignalSpy progress(manager.get(), &DownloadManager::progress);
            manager->download();
            QVERIFY(progress.wait());
        }
        {
            auto page = std::make_unique<QObject>();
            DownloadManager manager(streamMeta(address, 4000000), m_path, page.get(), nullptr);
            QSignalSpy progress(&manager, &DownloadManager::progress);
            manager.download();
            QVERIFY(progress.wait());
            page.reset();
        }
    }

private:
    DemoSite m_site;
    QTemporaryDir m_folder;
    QString m_path;
    int m_idleDescriptors = 0;
    int m_idleThreads = 0;
};

QTEST_GUILESS_MAIN(TestDownload)
#include "tst_download.moc"
