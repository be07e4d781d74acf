#include "benchmarks/ProcessFigures.h"
#include "download/DownloaderThread.h"
#include "download/DownloadManager.h"
#include "support/Files.h"
#include "support/ResourceLimit.h"
#include "support/ScriptedServer.h"
#include "support/TestMain.h"
#include "support/TextTable.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

#include <csignal>

using Fault = std::function<void(Reply &reply)>;

Q_DECLARE_METATYPE(Fault)

namespace {

constexpr int quarter = 25000;
constexpr int always = 1000;

const QByteArray stream = randomBytes(4 * quarter);

// Serves the stream well but for the first requests for one quarter.
ScriptedServer::Script faultIn(int index, const Fault &fault, int times = 1)
{
    return [index, fault, left = times](const Request &request) mutable {
        Reply reply = Reply::range(stream, request);
        if (request.first / quarter == index && left-- > 0)
            fault(reply);
        return reply;
    };
}

Fault sends(int bytes, Reply::Ending ending)
{
    return [bytes, ending](Reply &reply) {
        reply.sent = std::min(bytes, reply.body.size() / 2);
        reply.ending = ending;
    };
}

// Runs one download to its end and keeps what it told on the way.
struct Download
{
    // The inactivity limit (milliseconds) of the manager is for real networks.
    Download(const ScriptedServer &server, const QString &path, int size = stream.size(), int inactivityLimit = 60000)
    {
        Meta meta(22, server.address());
        meta.setSize(size);
        manager = std::make_unique<DownloadManager>(meta, path, page.get(), this);
        auto *access = page->findChild<QNetworkAccessManager *>();
        QCOMPARE(access->transferTimeout(), 60000);
        access->setTransferTimeout(inactivityLimit);
        QObject::connect(manager.get(), &DownloadManager::progress, page.get(),
                         [this, size](qint64 bytes, qint64 total, void *tag) {
                             QVERIFY(bytes > received && total == size && tag == this);
                             received = bytes;
                         });
        QObject::connect(manager.get(), &DownloadManager::downloadCompleted, page.get(), [this] {
            ++completions;
            failure = manager->failure();
            replies = page->findChildren<QNetworkReply *>().size();
            // As the page does: the manager goes inside its own signal.
            delete manager.release();
        });
        manager->download();
        QCOMPARE(completions, 0);
    }

    std::unique_ptr<QObject> page = std::make_unique<QObject>();
    std::unique_ptr<DownloadManager> manager;
    int completions = 0;
    int replies = 0; // alive at the end
    qint64 received = 0;
    QString failure;
};

} // namespace

class TestDownload final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        init();
        // The first download loads what the network stack keeps for the life of the process.
        endsWith({});
        m_idleDescriptors = ProcessFigures::descriptors();
        m_idleThreads = ProcessFigures::threads();
    }
    void init()
    {
        m_path = m_folder.filePath("out.mp4"_s);
        QFile::remove(m_path);
        m_server = std::make_unique<ScriptedServer>(faultIn(0, {}, 0));
    }
    // Whatever a test did, it leaves nothing behind.
    void cleanup()
    {
        QTRY_VERIFY(ProcessFigures::descriptors() <= m_idleDescriptors);
        QTRY_VERIFY(ProcessFigures::threads() <= m_idleThreads);
    }

    void rangeAnswer_data()
    {
        QTest::addColumn<QString>("found");
        QTest::addColumn<QString>("verdict");

        using Count = std::optional<qint64>;
        const auto row = [](int status, Count length, const char *range, const RangeAnswer::Asked &asked,
                            const RangeAnswer::Known &known, const char *verdict, const char *type = "",
                            const char *encoding = "") {
            const RangeAnswer::Head head{status, "Phrase"_s, length, range, type, encoding};
            const RangeAnswer answer = RangeAnswer::judge(head, asked, known);
            const QString total = answer.total ? QString::number(*answer.total) : "?"_s;
            QString skip = "skip %1 of %2 "_s.arg(QString::number(answer.skip), total);
            skip += answer.mayGoOn ? "and on"_s : QString();
            QTest::addRow("%d %lld %s, %s%s", status, length.value_or(-1), range, type, encoding)
                << (answer.refusal.isEmpty() ? skip : answer.refusal) << QString::fromLatin1(verdict);
        };
        const RangeAnswer::Asked slice{100, 199};
        const RangeAnswer::Asked rest{100, {}};
        row(206, 100, "bytes 100-199/400", slice, {400, 400}, "skip 0 of 400 ");
        row(206, 100, "bytes 100-199/500", slice, {400, {}}, "skip 0 of 500 ");
        row(206, 100, "bytes 100-199/500", slice, {400, 400}, "has changed");
        row(206, 100, "bytes 100-199/*", slice, {400, 400}, "skip 0 of ? and on");
        row(206, 400, "", slice, {400, {}}, "skip 100 of 400 ");
        row(206, 100, "", slice, {400, 400}, "another part", "Multipart/byteranges");
        row(206, 99, "bytes 101-199/400", slice, {400, {}}, "another part");
        for (const char *range : {"lines 100-199/400", "bytes 100/400", "bytes -100-199/400", "bytes */*",
                                  "bytes 100-199-299/400", "bytes 100-199/400/400", "bytes +100-199/400"})
            row(206, 100, range, slice, {400, {}}, "another part");
        for (const char *range : {" Bytes  100-199/5000000000 ", "bytes 100-99/5000000000", "bytes 100-/5000000000"})
            row(206, 100, range, slice, {400, {}}, "skip 0 of 5000000000 ");
        for (const char *range : {"bytes 100-199/199", "bytes 100-199/99999999999999999999", "bytes 100-199/+400"})
            row(206, 100, range, slice, {400, {}}, "skip 0 of ? and on");
        row(200, 400, "", slice, {400, {}}, "skip 100 of 400 ");
        row(200, {}, "", slice, {400, {}}, "skip 100 of ? ");
        row(200, 500, "", slice, {400, 400}, "has changed");
        row(200, 100, "", rest, {}, "ends before");
        row(200, 100, "", slice, {400, {}}, "skip 0 of ? ");
        row(200, 100, "", {50, 149}, {100, {}}, "skip 50 of 100 ");
        row(416, 0, "bytes */100", rest, {}, "skip 0 of 100 ");
        row(416, 0, "", {0, {}}, {}, "answered 416 Phrase");
        row(206, 100, "bytes 100-199/400", slice, {400, {}}, "encoding", "", "GZip");
        row(206, 100, "bytes 100-199/400", slice, {400, {}}, "skip 0 of 400 ", "", " Identity");
        row(404, 100, "bytes 100-199/400", slice, {400, {}}, "answered 404 Phrase");
    }
    void rangeAnswer()
    {
        QFETCH(QString, found);
        QFETCH(QString, verdict);
        QVERIFY2(verdict.startsWith("skip"_s) ? found == verdict : found.contains(verdict), qPrintable(found));
    }

    void arrivesIntact_data()
    {
        QTest::addColumn<int>("streamSize");
        QTest::addColumn<int>("knownSize");
        QTest::addColumn<int>("sentAtFirst"); // of an answer from the stream's beginning, which is cut off then
        QTest::addColumn<QString>("ranges");

        QTest::newRow("with a remainder")
            << 1003 << 1003 << 1003 << "bytes=0-249 bytes=250-499 bytes=500-749 bytes=750-1002";
        QTest::newRow("four bytes") << 4 << 4 << 4 << "bytes=0-0 bytes=1-1 bytes=2-2 bytes=3-3";
        QTest::newRow("three bytes") << 3 << 3 << 3 << "bytes=0-2";
        QTest::newRow("size unknown") << 3000001 << 0 << 3000001 << "bytes=0-";
        QTest::newRow("size unknown, cut off") << 3000001 << 0 << 50000 << "bytes=0- bytes=50000-";
        QTest::newRow("nothing") << 0 << 0 << 0 << "bytes=0-";
    }
    void arrivesIntact()
    {
        QFETCH(int, streamSize);
        QFETCH(int, knownSize);
        QFETCH(int, sentAtFirst);
        const QByteArray bytes = randomBytes(streamSize);
        const ScriptedServer server([&](const Request &request) {
            Reply reply = Reply::range(bytes, request);
            if (request.first == 0)
                reply.sent = sentAtFirst;
            reply.ending = reply.sent < reply.body.size() ? Reply::Close : Reply::Keep;
            return reply;
        });
        QVERIFY(writeFile(m_path, QByteArray(4000000, 'x')));
        Download download(server, m_path, knownSize);
        QCOMPARE(QFile(m_path).size(), knownSize);
        QTRY_COMPARE(download.completions, 1);
        QCOMPARE(download.failure, QString());
        QCOMPARE(download.received, streamSize);
        QVERIFY(contents(m_path) == bytes);
        QTRY_VERIFY2(download.page->children().isEmpty(), "the network access object stays");

        QStringList ranges;
        for (const Request &request : server.requests())
            ranges += QString::fromLatin1(request.headers.value("range"));
        ranges.sort();
        QTEST(ranges.join(QLatin1Char(' ')), "ranges");
    }

    // What a fault in the second quarter leaves: the other quarters are always whole.
    void faults_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<int>("times");
        QTest::addColumn<int>("requests"); // for the quarter; 0 where Qt itself may ask again
        QTest::addColumn<QString>("failure"); // without one, the quarter is whole
        QTest::addColumn<int>("inactivityLimit");

        const auto row = [](const char *name, int times, int requests, const char *failure, const Fault &fault,
                            int inactivityLimit = 60000) {
            QTest::newRow(name) << fault << times << requests << QString::fromLatin1(failure) << inactivityLimit;
        };
        row("whole", always, 1, "", [](Reply &reply) { reply = {200, stream}; });
        row("whole, but not to its end", always, 1, "", [](Reply &reply) {
            reply = {200, stream, {}, Reply::Keep, 2 * quarter};
        });
        row("slice as if it were the whole", always, 1, "", [](Reply &reply) { reply.status = 200; });
        row("slice without its place", always, 1, "", [](Reply &reply) { reply.headers.clear(); });
        row("cut off again and again", 8, 9, "", sends(1000, Reply::Close));
        row("cut off before a byte, always", always, 0, "closed", sends(0, Reply::Close));
        row("cut off within the whole", 1, 2, "", [](Reply &reply) {
            reply = {200, stream, {}, Reply::Close, quarter + 5000};
        });
        row("reset once", 1, 2, "", sends(10000, Reply::Reset));
        row("stops sending once", 1, 2, "", sends(10000, Reply::Keep), 300);
        const Fault silence = [](Reply &reply) { reply = {0}; };
        row("never answers", always, 3, "did not answer", silence, 300);
        row("byte by byte", 1, 1, "", [](Reply &reply) { reply.bytesPerTurn = 1; });
        row("no bytes, always", always, 3, "sent less", [](Reply &reply) { reply.body.clear(); });
        row("more bytes", 1, 1, "", [](Reply &reply) { reply.body.append(QByteArray(20000, 'x')); });
        row("bomb", always, 1, "encoding", [](Reply &reply) { reply = Reply::bomb(206, reply.headers); });
        row("error page", always, 1, "answered 404", [](Reply &reply) { reply.status = 404; });
    }
    void faults()
    {
        QFETCH(Fault, fault);
        QFETCH(int, times);
        QFETCH(int, requests);
        QFETCH(QString, failure);
        QFETCH(int, inactivityLimit);
        const ScriptedServer server(faultIn(1, fault, times));
        QByteArray expected = stream;
        if (!failure.isEmpty()) {
            expected.replace(quarter, quarter, QByteArray(quarter, '\0'));
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(": 25000 bytes are missing: "_s));
        }

        Download download(server, m_path, stream.size(), inactivityLimit);
        QTRY_COMPARE_WITH_TIMEOUT(download.completions, 1, 20000);
        QVERIFY(contents(m_path) == expected);
        QCOMPARE(download.received, failure.isEmpty() ? 4 * quarter : 3 * quarter);
        QVERIFY2(download.failure.contains(failure), qPrintable(download.failure));
        QCOMPARE(download.failure.isEmpty(), failure.isEmpty());
        QVERIFY2(download.replies <= 5, "retries keep their replies");
        QVERIFY(requests == 0 || server.requests().size() == 3 + requests);
        QVERIFY(ProcessFigures::peakResidentBytes() < 256 * 1024 * 1024);
    }

    // Where no length is told, the connection's end is the stream's end, unless the answer says that it is a part.
    void lengthThatNobodyKnows()
    {
        for (const bool isPart : {false, true}) {
            int answers = 0;
            const ScriptedServer server([&](const Request &request) {
                Reply reply = Reply::range(stream, request);
                reply.headers = isPart ? reply.headers.replace("/100000", "/*") : QByteArray();
                reply.contentLength = "";
                reply.sent = answers == 0 ? 50000 : stream.size();
                reply.ending = answers++ == 0 ? Reply::Keep : Reply::Close;
                return reply;
            });
            Download download(server, m_path, 0, 300);
            QTRY_COMPARE(download.completions, 1);
            QCOMPARE(download.failure, QString());
            QVERIFY(contents(m_path) == stream);
            QCOMPARE(server.requests().size(), isPart ? 3 : 2);
        }
    }

    // All that was asked for is kept, but nobody is told that it is the stream.
    void anotherLengthThanProbed()
    {
        endsWith("another length", stream.size() - 10);
        QVERIFY(contents(m_path) == stream.left(stream.size() - 10));
    }

    // Only what the first answer belongs to is kept.
    void versionsDoNotMix()
    {
        int length = stream.size();
        const ScriptedServer server([&](const Request &request) {
            Reply reply = Reply::range(stream, request);
            reply.headers.replace("/100000", '/' + QByteArray::number(length++));
            return reply;
        });
        Download download(server, m_path);
        QTRY_COMPARE(download.completions, 1);
        QVERIFY2(download.failure.contains("has changed"_s), qPrintable(download.failure));
        QCOMPARE(download.received, quarter);
    }

    void fileChangesDuringTheDownload_data()
    {
        textTable("failure", {"removed -> removed", "replaced -> changed", "truncated -> changed"});
    }
    void fileChangesDuringTheDownload()
    {
        QFETCH(QString, failure);
        const QByteArray change = QTest::currentDataTag();
        // The last range would stretch a file that was cut to its length again.
        const ScriptedServer server(faultIn(3, sends(100, Reply::Keep), 2));
        Download download(server, m_path, stream.size(), 500);
        QTRY_VERIFY(download.received >= 3 * quarter + 100);
        QVERIFY(change == "truncated" ? QFile::resize(m_path, 10) : QFile::remove(m_path));
        if (change == "replaced")
            QVERIFY(writeFile(m_path, stream));
        QTRY_COMPARE(download.completions, 1);
        QVERIFY2(download.failure.contains(failure), qPrintable(download.failure));
    }

    // Nothing is asked for that cannot be kept.
    void unusableOutput()
    {
        for (const char *path : {"/nonexistent/out.mp4", "/"}) {
            m_path = QString::fromLatin1(path);
            endsWith("directory");
        }
        QVERIFY(m_server->requests().isEmpty());
    }

    void diskThatTakesNoMore()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        Download download(*m_server, m_path);
        const ResourceLimit limit(RLIMIT_FSIZE, 60000);
        QTRY_COMPARE(download.completions, 1);
        QVERIFY2(download.failure.contains("File too large"_s), qPrintable(download.failure));
        QVERIFY(contents(m_path) == stream.left(60000) + QByteArray(40000, '\0'));
    }

    // Qt's network thread would take the process with it.
    void descriptorsRunOut()
    {
        for (const int spare : {0, 4, 9}) {
            QVERIFY(writeFile(m_path, "earlier"));
            {
                const ResourceLimit limit(RLIMIT_NOFILE, ResourceLimit::spareDescriptors(spare));
                endsWith("Too many open files");
            }
            QCOMPARE(contents(m_path), QByteArray("earlier"));
        }
        QVERIFY(m_server->requests().isEmpty());
    }

    void workerReportsDeltas()
    {
        QNetworkAccessManager access;
        DownloaderThread worker(QString(), m_path, 0, 99, &access, nullptr);
        const QSignalSpy progress(&worker, &DownloaderThread::progress);
        worker.downloadProgress(40, 100);
        worker.downloadProgress(100, 100);
        QCOMPARE(progress, (QList<QVariantList>{{40LL}, {60LL}}));
    }

    // Into a new file, then into one that is there.
    void workerKeepsToItsPlace()
    {
        for (QByteArray expected : {QByteArray(150, '\0'), QByteArray(200, 'x')}) {
            QNetworkAccessManager access;
            DownloaderThread worker(m_server->address(), m_path, 100, 149, &access, nullptr);
            QSignalSpy completed(&worker, &DownloaderThread::downloadCompleted);
            worker.run();
            QVERIFY(completed.wait() && worker.failure().isEmpty());
            QVERIFY(contents(m_path) == expected.replace(100, 50, stream.mid(100, 50)));
            QVERIFY(writeFile(m_path, QByteArray(200, 'x')));
        }
    }

private:
    // The failure must hold that text.
    void endsWith(const char *failure, int size = stream.size())
    {
        Download download(*m_server, m_path, size);
        QTRY_COMPARE(download.completions, 1);
        QVERIFY2(download.failure.contains(QLatin1String(failure)), qPrintable(download.failure));
        QVERIFY(download.failure.isEmpty() == (qstrlen(failure) == 0));
    }

    std::unique_ptr<ScriptedServer> m_server; // without a fault
    QTemporaryDir m_folder;
    QString m_path;
    int m_idleDescriptors = 0;
    int m_idleThreads = 0;
};

FOURFOLD_TEST_MAIN(QCoreApplication, TestDownload)

#include "tst_download.moc"
