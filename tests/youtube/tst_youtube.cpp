#include "DemoSite.h"
#include "support/FaultServer.h"
#include "youtube/NetworkManager.h"
#include "youtube/PlayerConfig.h"
#include "youtube/PlaylistRows.h"
#include "youtube/Youtube.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <functional>
#include <memory>

namespace {

constexpr int usualInactivityLimit = 60000; // milliseconds

QStringList debugLines;
QtMessageHandler previousHandler = nullptr;

void keepDebugLines(QtMsgType type, const QMessageLogContext &context, const QString &line)
{
    if (type == QtDebugMsg)
        debugLines.append(line);
    else
        previousHandler(type, context, line);
}

QByteArray answer(const QByteArray &statusAndHeaders, const QByteArray &body = {})
{
    return "HTTP/1.1 " + statusAndHeaders + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray page(const QByteArray &body)
{
    return answer("200 OK\r\n", body);
}

// Sends back, byte for byte, what the handler makes of a request such as "GET /watch?v=1"; nothing at all where that is
// empty. Runs in the event loop of the test, so that the handler may do whatever should happen during a wait.
class Site final : public QTcpServer
{
public:
    using Handler = std::function<QByteArray(const QByteArray &request, QTcpSocket *socket)>;

    explicit Site(Handler handler)
        : m_handler(std::move(handler))
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                const int end = socket->peek(64 * 1024).indexOf("\r\n\r\n");
                if (end < 0)
                    return;
                const QList<QByteArray> words = socket->read(end + 4).split(' ');
                m_requests.append(words.at(0) + ' ' + words.at(1));
                socket->write(m_handler(m_requests.last(), socket));
            });
        });
    }

    [[nodiscard]] QString address() const { return QStringLiteral("http://127.0.0.1:%1").arg(serverPort()); }
    [[nodiscard]] const QList<QByteArray> &requests() const { return m_requests; }

private:
    Handler m_handler;
    QList<QByteArray> m_requests;
};

// Remembers every reply that takes part in the event loop.
class ReplyWatcher final : public QObject
{
public:
    [[nodiscard]] int alive()
    {
        m_replies.erase(std::remove(m_replies.begin(), m_replies.end(), nullptr), m_replies.end());
        return m_replies.size();
    }
    [[nodiscard]] bool sawOne() const { return m_sawOne; }

private:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *reply = qobject_cast<QNetworkReply *>(watched);
        if (reply && event->type() == QEvent::MetaCall && !m_replies.contains(reply)) {
            m_sawOne = true;
            (void)alive();
            m_replies.append(reply);
        }
        return false;
    }

    QVector<QPointer<QNetworkReply>> m_replies;
    bool m_sawOne = false;
};

// The longest time in which the event loop did not turn.
class Heartbeat final
{
public:
    Heartbeat()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer,
                         [this] { m_longest = qMax(m_longest, m_clock.restart()); });
        m_clock.start();
        m_timer.start(1);
    }
    [[nodiscard]] qint64 longestGap() const { return qMax(m_longest, m_clock.elapsed()); } // milliseconds

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_longest = 0;
};

struct Outcome
{
    QString text;
    QStringList signalNames;
    QVector<VideoItem> items;
};

Outcome analyse(const QString &address, bool isPlaylist)
{
    Outcome outcome;
    Youtube youtube;
    QObject::connect(&youtube, &Youtube::videoDataDownloaded, &youtube, [&](const VideoItem &item) {
        outcome.signalNames.append(QStringLiteral("video"));
        outcome.items.append(item);
    });
    QObject::connect(&youtube, &Youtube::playlistDataDownloaded, &youtube, [&](const QVector<VideoItem> &items) {
        outcome.signalNames.append(QStringLiteral("playlist"));
        outcome.items = items;
    });
    QObject::connect(&youtube, &Youtube::videoDataNotFound, &youtube,
                     [&] { outcome.signalNames.append(QStringLiteral("not found")); });
    QUrl url(address);
    outcome.text = isPlaylist ? youtube.downloadPlaylist(url) : youtube.downloadVideo(url);
    return outcome;
}

QStringList videoIds(const QVector<VideoItem> &items)
{
    QStringList ids;
    for (const VideoItem &item : items)
        ids.append(item.getVideoId());
    return ids;
}

QStringList numberedIds(int count)
{
    QStringList ids;
    for (int i = 0; i < count; ++i)
        ids.append(QStringLiteral("video-%1").arg(i));
    return ids;
}

// A watch page for any id, each with two formats at "/stream" of the same site.
QByteArray watchPage(const QByteArray &request, const QString &site)
{
    const QString id = QString::fromUtf8(request).section(QStringLiteral("v="), 1).section(QLatin1Char('&'), 0, 0);
    const QString map =
        DemoSite::streamMap({{22, site + QStringLiteral("/stream?22")}, {18, site + QStringLiteral("/stream?18")}});
    return page(
        DemoSite::watchPage({{QStringLiteral("video_id"), id}, {QStringLiteral("url_encoded_fmt_stream_map"), map}}));
}

QByteArray config(const QByteArray &json)
{
    return "<script>ytplayer.config = " + json + ";ytplayer.load();</script>";
}

QByteArray titled(const QByteArray &jsonTitle)
{
    return config("{\"args\":{\"title\":\"" + jsonTitle + "\"}}");
}

} // namespace

class TestYoutube final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        previousHandler = qInstallMessageHandler(keepDebugLines);
        QVERIFY2(m_demo.start(), qPrintable(m_demo.errorString()));
        QCoreApplication::instance()->installEventFilter(&m_watcher);
    }
    void init()
    {
        debugLines.clear();
        qputenv("FOURFOLD_SITE", m_demo.address().toUtf8());
        m_demo.clearRequests();
    }
    void cleanup() { QCOMPARE(m_watcher.alive(), 0); }
    void cleanupTestCase()
    {
        QVERIFY(m_watcher.sawOne());
        qInstallMessageHandler(previousHandler);
    }

    void pageToConfiguration_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("found");
        QTest::addColumn<QString>("title"); // null where the configuration is an empty object

        const auto row = [](const char *name, const QByteArray &body, const QString &title) {
            QTest::newRow(name) << body << true << title;
        };
        const auto none = [](const char *name, const QByteArray &body) {
            QTest::newRow(name) << body << false << QString();
        };
        const QString plain = QStringLiteral("A title");
        row("one line", "<html>\n" + titled("A title") + "\n</html>", plain);
        row("the site's own page",
            DemoSite::watchPage({{QStringLiteral("title"), QStringLiteral("a/b <\"c\"> & 'd'")}}),
            QStringLiteral("a/b <\"c\"> & 'd'"));
        row("deep inside a long line", QByteArray(500000, '.') + titled("A title") + QByteArray(500000, '.'), plain);
        row("first of two lines", titled("A title") + '\n' + titled("Another"), plain);
        row("end text in the title", titled("1;ytplayer.load 2"), QStringLiteral("1;ytplayer.load 2"));
        row("last end of the line counts", titled("A title") + "if (x) y;ytplayer.load()", {});
        row("escapes", titled("a\\/b \\\"c\\\" \\u0026 \\u003cd\\u003e \\u00e9 \\\\ \\n"),
            QStringLiteral("a/b \"c\" & <d> é \\ \n"));
        row("escapes of a nested text", titled("{\\\"a\\\":\\\"b\\\\u0026c\\\\u003cd\\\\u003e\\\"}"),
            QStringLiteral("{\"a\":\"b&c<d>\"}"));
        row("other scripts", titled("한국어 🎬 \\ud83c\\udfac “q”"), QStringLiteral("한국어 🎬 🎬 “q”"));
        row("broken UTF-8 in the title", titled("caf\xC3"), QStringLiteral("caf\uFFFD"));
        row("body cut in the middle of a character", titled("A title") + "\xED\x95", plain);
        row("not JSON", config("{\"args\":{\"title\":\"A ti"), {});
        row("not an object", config("[1]"), {});
        row("nested ten thousand deep", config(QByteArray("{\"a\":").repeated(10000) + "1" + QByteArray(10000, '}')),
            {});
        row("a good line after a hundred thousand beginnings",
            QByteArray("ytplayer.config = ").repeated(100000) + '\n' + titled("A title"), plain);
        none("empty body", {});
        none("not HTML", "\xFF\xD8\xFF\xE0 JFIF");
        none("a megabyte of zero bytes", QByteArray(1 << 20, '\0'));
        none("behind a zero byte", QByteArray("<html>\0", 7) + titled("A title"));
        none("end on another line", titled("A title").replace(";ytplayer", "\n;ytplayer"));
        none("cut off before the end", titled("A title").split(';').first());
        none("other dots", titled("A title").replace("ytplayer.", "ytplayer_"));
        none("a hundred thousand beginnings", QByteArray("ytplayer.config = ").repeated(100000));
        none("a hundred thousand beginnings and near ends",
             QByteArray("ytplayer.config = ;ytplayer.loa").repeated(100000));
    }
    void pageToConfiguration()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, found);
        QFETCH(QString, title);
        QElapsedTimer clock;
        clock.start();
        const auto object = PlayerConfig::fromPage(body);
        const qint64 elapsed = clock.elapsed();
        QVERIFY2(elapsed < 1000, qPrintable(QStringLiteral("%1 ms").arg(elapsed)));
        QCOMPARE(object.has_value(), found);
        if (found && title.isNull())
            QVERIFY(object->isEmpty());
        else if (found)
            QCOMPARE(object->value(QStringLiteral("args")).toObject().value(QStringLiteral("title")).toString(), title);
    }

    void configurationToRecord_data()
    {
        QTest::addColumn<QByteArray>("json"); // of "args"
        QTest::addColumn<QString>("length");
        QTest::addColumn<bool>("isValid");
        QTest::addColumn<QStringList>("formats");

        const QString noLength = QStringLiteral("00:00:00");
        const QStringList oneEmpty{QStringLiteral("0||mp4|")};
        const auto length = [&](const char *json, const char *text) {
            QTest::newRow(json) << QByteArray("{\"title\":\"t\",\"length_seconds\":" + QByteArray(json) + '}')
                                << QString::fromLatin1(text) << true << oneEmpty;
        };
        const auto map = [&](const char *text, const QStringList &formats) {
            QTest::newRow(text) << QByteArray("{\"video_id\":\"v\",\"url_encoded_fmt_stream_map\":\"" + QByteArray(text)
                                              + "\"}")
                                << noLength << true << formats;
        };
        QTest::newRow("no arguments") << QByteArray("7") << noLength << false << oneEmpty;
        QTest::newRow("nothing known") << QByteArray("{}") << noLength << false << oneEmpty;
        QTest::newRow("members of other types")
            << QByteArray("{\"video_id\":1,\"title\":[],\"url_encoded_fmt_stream_map\":{}}") << noLength << false
            << oneEmpty;
        length("\"3725\"", "01:02:05");
        length("\"59\"", "00:00:59");
        length("\"360000\"", "100:00:00");
        length("3725", "00:00:00");
        length("\"soon\"", "00:00:00");
        map("itag=22&url=a%3Db,itag=5&url=c",
            {QStringLiteral("22|a=b|mp4|1280X720"), QStringLiteral("5|c|flv|400X240")});
        map("url=d&itag=17,itag=18,itag=36,itag=43",
            {QStringLiteral("17|d|3gp|320X240"), QStringLiteral("18||mp4|640X360"), QStringLiteral("36||3gp|320X240"),
             QStringLiteral("43||webm|640X360")});
        map("itag=37&url=a,itag=37&url=b", {QStringLiteral("37|a|mp4|"), QStringLiteral("37|b|mp4|")});
        map("itag=22&itag=5&url=x=y&url", {QStringLiteral("5|x|flv|400X240")});
        map("itag=&u%72l=a", oneEmpty);
        map("itag=x&&=&url=a+b%20c%C3%A9", {QStringLiteral("0|a+b cé|mp4|")});
        map(",", {oneEmpty.first(), oneEmpty.first()});
    }
    void configurationToRecord()
    {
        QFETCH(QByteArray, json);
        QJsonObject object = QJsonDocument::fromJson("{\"args\":" + json + '}').object();
        const VideoItem item(object);
        QStringList formats;
        for (const Meta &meta : item.getAvailaibleFormats()) {
            formats.append(QStringLiteral("%1|%2|%3|%4")
                               .arg(meta.getItag())
                               .arg(meta.getUrl(), meta.getExtension(), meta.getResolution()));
            QCOMPARE(meta.getSize(), 0);
            QCOMPARE(meta.getHumanReadableSize(), QStringLiteral("0.00 bytes"));
        }
        QTEST(formats, "formats");
        QTEST(item.getLength(), "length");
        QTEST(item.isValid(), "isValid");
    }

    void longStreamMapKeepsTheLoopTurning()
    {
        QJsonObject object{
            {QStringLiteral("args"),
             QJsonObject{{QStringLiteral("url_encoded_fmt_stream_map"), QString(100000, QLatin1Char(','))}}}};
        QElapsedTimer clock;
        clock.start();
        const Heartbeat heartbeat;
        const VideoItem item(object);
        const qint64 gap = heartbeat.longestGap();
        qInfo("%lld ms, longest gap %lld ms", clock.elapsed(), gap);
        QCOMPARE(item.getAvailaibleFormats().size(), 100001);
        QVERIFY2(gap < 100, qPrintable(QStringLiteral("%1 ms").arg(gap)));
    }

    void probe_data()
    {
        QTest::addColumn<QByteArray>(
            "answered"); // to the first request; "SITE/good" has 5000 bytes, "SITE/gone" is not there
        QTest::addColumn<QString>("address"); // afterwards
        QTest::addColumn<int>("size"); // 77 before
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("fails");

        const QString same = QStringLiteral("SITE/first");
        const QString kept = QStringLiteral("77.00 bytes");
        const auto length = [&](const QByteArray &value, int size, const char *text) {
            QTest::newRow(value.constData()) << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: " + value + "\r\n\r\n")
                                             << same << size << QString::fromLatin1(text) << false;
        };
        length("0", 0, "0.00 bytes");
        length("1023", 1023, "1023.00 bytes");
        length("1024", 1024, "1.00 KB");
        length("1536", 1536, "1.50 KB");
        length("1048575", 1048575, "1024.00 KB");
        length("1048576", 1048576, "1.00 MB");
        length("2147483647", 2147483647, "2.00 GB");
        length("2147483648", 0, "2.00 GB");
        length("1099511627776", 0, "1024.00 GB");
        length("many", 0, "0.00 bytes");
        length("12 apples", 0, "0.00 bytes");
        length("-5", 0, "0.00 bytes");
        length("99999999999999999999", 0, "0.00 bytes");
        QTest::newRow("no length") << QByteArray("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n") << same << 0
                                   << QStringLiteral("0.00 bytes") << false;

        const auto moved = [&](const char *name, const QByteArray &location, const QString &address, bool fails) {
            QTest::newRow(name) << answer("302 Found\r\n" + location) << address << (fails ? 77 : 5000)
                                << (fails ? kept : QStringLiteral("4.88 KB")) << fails;
        };
        QTest::newRow("301") << answer("301 Moved\r\nLocation: SITE/good\r\n") << QStringLiteral("SITE/good") << 5000
                             << QStringLiteral("4.88 KB") << false;
        moved("302", "Location: SITE/good\r\n", QStringLiteral("SITE/good"), false);
        moved("escapes stay as sent", "Location: SITE/good?a%20b+c%2Fd%c3%A9&e=%25|\r\n",
              QStringLiteral("SITE/good?a%20b+c%2Fd%c3%A9&e=%25|"), false);
        moved("to nowhere", "Location: SITE/gone\r\n", QStringLiteral("SITE/gone"), true);
        moved("relative", "Location: /good\r\n", QStringLiteral("/good"), true);
        moved("no Location", "", QString(), true);
        QTest::newRow("refused connection") << answer("302 Found\r\nLocation: http://127.0.0.1:1/\r\n")
                                            << QStringLiteral("http://127.0.0.1:1/") << 77 << kept << true;
        for (const int status : {206, 303, 307, 308}) {
            QTest::addRow("%d", status) << answer(QByteArray::number(status) + " Other\r\nLocation: SITE/good\r\n")
                                        << same << 77 << kept << false;
        }
        for (const int status : {404, 500})
            QTest::addRow("%d", status) << answer(QByteArray::number(status) + " Bad\r\n") << same << 77 << kept
                                        << true;
    }
    void probe()
    {
        QFETCH(QByteArray, answered);
        QFETCH(QString, address);
        QFETCH(bool, fails);
        QString siteAddress;
        const Site site([&](const QByteArray &request, QTcpSocket *) -> QByteArray {
            if (request == "HEAD /first")
                return QByteArray(answered).replace("SITE", siteAddress.toUtf8());
            return request.startsWith("HEAD /good") ? "HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n"
                                                    : answer("404 Gone\r\n");
        });
        siteAddress = site.address();

        Meta meta(22, siteAddress + QStringLiteral("/first"));
        meta.setSize(77);
        meta.findVideoSize();
        QCOMPARE(meta.getUrl(), address.replace(QStringLiteral("SITE"), siteAddress));
        QTEST(meta.getSize(), "size");
        QTEST(meta.getHumanReadableSize(), "text");
        QCOMPARE(debugLines.filter(QStringLiteral("Failure")).size(), fails ? 1 : 0);
    }

    void probeFollowsTwentyRedirects_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("size");
        const QString stream = QStringLiteral("/stream?size=5000");
        QTest::newRow("twenty") << QString(QStringLiteral("/redirect").repeated(19) + QStringLiteral("/redirect301")
                                           + stream)
                                << 5000;
        QTest::newRow("twenty-one") << QString(QStringLiteral("/redirect").repeated(21) + stream) << 0;
        QTest::newRow("loop") << QStringLiteral("/loop") << 0;
    }
    void probeFollowsTwentyRedirects()
    {
        QFETCH(QString, path);
        QFETCH(int, size);
        Meta meta(22, m_demo.address() + path);
        meta.findVideoSize();
        QCOMPARE(meta.getSize(), size);
        QCOMPARE(m_demo.requests().size(), 21);
        QCOMPARE(debugLines.filter(QStringLiteral("Failure")).size(), size == 0 ? 1 : 0);
    }

    void playlistRows_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("ids");

        const QString watch = QStringLiteral("http://a.example/watch?v=1&list=2");
        const QString list = QStringLiteral("http://a.example/playlist?list=2");
        const QByteArray item = "<li class=\"yt-uix-scroller-scroll-unit ";
        const QByteArray tableRow = "<tr class=\"pl-video yt-uix-tile ";
        const auto row = [](const char *name, const QString &address, const QByteArray &body, const QStringList &ids) {
            QTest::newRow(name) << address << body << ids;
        };
        const QStringList hundred = numberedIds(100);
        const QStringList twoHundred = numberedIds(200);
        row("hundred items", watch, DemoSite::watchPlaylistPage({{QStringLiteral("video_id"), hundred.at(7)}}, hundred),
            hundred);
        row("two hundred rows", list, DemoSite::playlistPage(twoHundred), twoHundred);
        row("items are no rows", list, DemoSite::watchPlaylistPage({}, hundred), {});
        row("rows are no items", watch, DemoSite::playlistPage(hundred), {});
        row("path with an escape", QStringLiteral("http://a.example/w%61tch"), item + "\" data-video-id=\"a\">",
            {QStringLiteral("a")});
        row("other case", QStringLiteral("http://a.example/Watch"), item + "\" data-video-id=\"a\">", {});
        row("item that plays", watch,
            item + " currently-playing\" data-x=\"1\" data-video-id=\"a-_1\"\n>\n" + item
                + "\" data-video-id=\"b\" data-y>",
            {QStringLiteral("b")});
        row("attributes in any order", list,
            tableRow + "\" data-set-video-id=\"\" data-video-id=\"a\">\n" + tableRow
                + "\" data-video-id=\"b\" data-set-video-id=\"\">\r\n",
            {QStringLiteral("a"), QStringLiteral("b")});
        row("duplicates and no id", list,
            tableRow + "\" data-video-id=\"a\">\n" + tableRow + "\">\n" + tableRow + "\" data-video-id=\"a\">",
            {QStringLiteral("a"), QString(), QStringLiteral("a")});
        row("two on one line", list, QByteArray(tableRow + "\" data-video-id=\"a\">").repeated(2),
            {QStringLiteral("a")});
        row("ampersand", list, tableRow + "\" title=\"x &amp; y\" data-video-id=\"a&amp;b\">", {QStringLiteral("a&b")});
        row("behind a zero byte", list, QByteArray(1, '\0') + tableRow + "\" data-video-id=\"a\">", {});
        row("hundred thousand beginnings", list, tableRow.repeated(100000), {});
    }
    void playlistRows()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, body);
        QElapsedTimer clock;
        clock.start();
        const QStringList ids = PlaylistRows::videoIds(body, QUrl(address));
        const qint64 elapsed = clock.elapsed();
        QTEST(ids, "ids");
        QVERIFY2(elapsed < 1000, qPrintable(QStringLiteral("%1 ms").arg(elapsed)));
    }

    void analysesVideo()
    {
        const Outcome outcome = analyse(m_demo.videoAddress(), false);
        QCOMPARE(outcome.text, QString());
        QCOMPARE(outcome.signalNames, QStringList{QStringLiteral("video")});
        const VideoItem item = outcome.items.first();
        QCOMPARE(item.getVideoId(), m_demo.demoVideoIds().first());
        QCOMPARE(item.getUrl(), m_demo.videoAddress());
        QCOMPARE(item.getLength(), QStringLiteral("00:00:12"));
        for (const Meta &meta : item.getAvailaibleFormats()) {
            QCOMPARE(meta.getSize(), m_demo.mediaFile(m_demo.mediaFileFor(item.getVideoId(), meta.getItag())).size());
            QVERIFY(!meta.getUrl().contains(QStringLiteral("/redirect")));
        }
        QCOMPARE(debugLines.filter(QStringLiteral("Title : ")).size(), 1);
    }

    void analysesPlaylist_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("its page") << m_demo.playlistAddress();
        QTest::newRow("a video of it") << m_demo.watchPlaylistAddress();
    }
    void analysesPlaylist()
    {
        QFETCH(QString, address);
        const Outcome outcome = analyse(address, true);
        QCOMPARE(outcome.text, QString());
        QCOMPARE(outcome.signalNames, QStringList{QStringLiteral("playlist")});
        QCOMPARE(videoIds(outcome.items), m_demo.playlistVideoIds());
        QCOMPARE(outcome.items.at(1).getTitle(), QStringLiteral("한국어 \"따옴표\" & AC/DC: Ça va? 🎬"));
        QVERIFY(debugLines.contains(QStringLiteral("Total videos :  3")));
    }

    void outcomes_data()
    {
        QTest::addColumn<bool>("isPlaylist");
        QTest::addColumn<QByteArray>("firstPage");
        QTest::addColumn<QByteArray>("secondVideo"); // answer for the watch page of "video-1"; empty: a good one
        QTest::addColumn<QString>("text"); // part of what comes back
        QTest::addColumn<QStringList>("signalNames");
        QTest::addColumn<int>("items");

        const QStringList silent;
        const QStringList video{QStringLiteral("video")};
        const QStringList notFound{QStringLiteral("not found")};
        const QStringList playlist{QStringLiteral("playlist")};
        const QByteArray gone = answer("404 Gone\r\n", titled("A title"));
        const QByteArray moved = answer("302 Found\r\nLocation: /watch?v=video-0\r\n", "<html></html>");
        const auto list = [](int count) { return page(DemoSite::playlistPage(numberedIds(count))); };
        const auto row = [](const char *name, bool isPlaylist, const QByteArray &first, const QByteArray &second,
                            const char *text, const QStringList &names, int items) {
            QTest::newRow(name) << isPlaylist << first << second << QString::fromLatin1(text) << names << items;
        };
        row("video: 404", false, gone, {}, "Gone", silent, 0);
        row("video: redirect", false, moved, {}, "", notFound, 0);
        row("video: no configuration", false, page("<html></html>"), {}, "", notFound, 0);
        row("video: configuration cut off", false, page(config("{\"args\":{")), {}, "", video, 1);
        row("video: connection breaks", false, "HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n<html>", {}, "closed",
            silent, 0);
        row("playlist: 404", true, gone, {}, "Gone", silent, 0);
        row("playlist: redirect", true, moved, {}, "", playlist, 0);
        row("playlist: empty", true, list(0), {}, "", playlist, 0);
        row("playlist: two hundred", true, list(200), {}, "", playlist, 200);
        row("playlist: second page fails", true, list(3), gone, "Gone", silent, 0);
        row("playlist: second page has no video", true, list(3), page("<html></html>"), "", notFound, 0);
        row("playlist: second configuration cut off", true, list(3), page(config("{")), "", playlist, 3);
    }
    void outcomes()
    {
        QFETCH(bool, isPlaylist);
        QFETCH(QByteArray, firstPage);
        QFETCH(QByteArray, secondVideo);
        QFETCH(QString, text);
        QFETCH(int, items);
        QString siteAddress;
        const Site site([&](const QByteArray &request, QTcpSocket *socket) -> QByteArray {
            if (request == "GET /first") {
                if (!firstPage.endsWith("<html>"))
                    return firstPage;
                socket->write(firstPage);
                socket->disconnectFromHost();
                return {};
            }
            if (request.startsWith("HEAD"))
                return "HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n";
            return request.endsWith("v=video-1") && !secondVideo.isEmpty() ? secondVideo
                                                                           : watchPage(request, siteAddress);
        });
        siteAddress = site.address();
        qputenv("FOURFOLD_SITE", siteAddress.toUtf8());

        const Outcome outcome = analyse(siteAddress + QStringLiteral("/first"), isPlaylist);
        QVERIFY2(outcome.text.contains(text) && outcome.text.isEmpty() == text.isEmpty(), qPrintable(outcome.text));
        QTEST(outcome.signalNames, "signalNames");
        QCOMPARE(outcome.items.size(), items);
        if (items == 200)
            QCOMPARE(videoIds(outcome.items), numberedIds(200));
    }

    void serverThatDoesNotAnswer_data()
    {
        QTest::addColumn<int>("fault");
        QTest::newRow("not at all") << int(FaultServer::Fault::Silence);
        QTest::newRow("not to the end") << int(FaultServer::Fault::Stall);
    }
    void serverThatDoesNotAnswer()
    {
        QFETCH(int, fault);
        FaultServer server(QByteArray(1000, 'x'));
        server.setFault(FaultServer::Fault(fault), 0, 0, 1);
        NetworkManager::getInstance()->setInactivityLimit(200);
        const Outcome outcome = analyse(server.address(), false);
        NetworkManager::getInstance()->setInactivityLimit(usualInactivityLimit);
        QCOMPARE(outcome.text, QStringLiteral("The server did not answer"));
        QCOMPARE(outcome.signalNames, QStringList());
        QVERIFY(!NetworkManager::getInstance()->isInterrupted());
    }

    // The outer wait's reply comes first, yet the inner call returns first: each with its own reply.
    void nestedWaits()
    {
        QString siteAddress;
        QStringList returned;
        const auto fetch = [&](const QString &path) {
            QUrl url(siteAddress + path);
            const std::unique_ptr<QNetworkReply> reply(NetworkManager::getInstance()->getWebPage(url));
            QVERIFY(reply->isFinished());
            returned.append(QString::fromUtf8(reply->readAll()));
        };
        QTcpSocket *outer = nullptr;
        const Site site([&](const QByteArray &request, QTcpSocket *socket) -> QByteArray {
            if (request == "GET /outer") {
                outer = socket;
                QTimer::singleShot(0, this, [&] { fetch(QStringLiteral("/inner")); });
                return {};
            }
            // The client ends the outer connection when it has read the answer.
            QObject::connect(outer, &QTcpSocket::disconnected, socket, [socket] { socket->write(page("inner")); });
            outer->write(answer("200 OK\r\nConnection: close\r\n", "outer"));
            outer->disconnectFromHost();
            return {};
        });
        siteAddress = site.address();
        fetch(QStringLiteral("/outer"));
        QCOMPARE(returned, (QStringList{QStringLiteral("inner"), QStringLiteral("outer")}));
    }

    void quitEndsTheAnalysis_data()
    {
        QTest::addColumn<bool>("isPlaylist");
        QTest::addColumn<int>("unanswered"); // the request during which the application quits
        QTest::newRow("watch page") << false << 0;
        QTest::newRow("first probe") << false << 1;
        QTest::newRow("second probe") << false << 2;
        QTest::newRow("playlist page") << true << 0;
        QTest::newRow("second video of a playlist") << true << 4;
        QTest::newRow("its probe") << true << 5;
    }
    void quitEndsTheAnalysis()
    {
        QFETCH(bool, isPlaylist);
        QFETCH(int, unanswered);
        QElapsedTimer sinceQuit;
        QString siteAddress;
        bool quits = true;
        const Site site([&](const QByteArray &request, QTcpSocket *) -> QByteArray {
            if (quits && site.requests().size() > unanswered) {
                sinceQuit.start();
                QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
                return {};
            }
            if (request.startsWith("HEAD"))
                return "HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n";
            return request == "GET /playlist" ? page(DemoSite::playlistPage(numberedIds(3)))
                                              : watchPage(request, siteAddress);
        });
        siteAddress = site.address();
        qputenv("FOURFOLD_SITE", siteAddress.toUtf8());
        const QString address = siteAddress + (isPlaylist ? QStringLiteral("/playlist") : QStringLiteral("/watch?v=a"));
        Outcome outcome;
        QTimer::singleShot(0, this, [&] { outcome = analyse(address, isPlaylist); });
        QCoreApplication::exec();
        QVERIFY2(sinceQuit.elapsed() < 1000, qPrintable(QStringLiteral("%1 ms").arg(sinceQuit.elapsed())));
        QVERIFY(!outcome.text.isEmpty());
        QCOMPARE(outcome.signalNames, QStringList());
        QCOMPARE(site.requests().size(), unanswered + 1);

        quits = false;
        QTimer::singleShot(0, this, [&] {
            outcome = analyse(address, isPlaylist);
            QCoreApplication::quit();
        });
        QCoreApplication::exec();
        QCOMPARE(outcome.text, QString());
        QCOMPARE(outcome.items.size(), isPlaylist ? 3 : 1);
        QCOMPARE(outcome.items.last().getAvailaibleFormats().last().getSize(), 5000);
    }

private:
    DemoSite m_demo;
    ReplyWatcher m_watcher;
};

QTEST_GUILESS_MAIN(TestYoutube)
#include "tst_youtube.moc"
