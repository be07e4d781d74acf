#include "DemoSite.h"
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
const QByteArray goodHead = QByteArrayLiteral("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n");

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

struct Outcome
{
    QString text;
    QString signalNames; // each followed by a blank
    QVector<VideoItem> items;
};

Outcome analyse(const QString &address, bool isPlaylist)
{
    Outcome outcome;
    Youtube youtube;
    QObject::connect(&youtube, &Youtube::videoDataDownloaded, &youtube, [&](const VideoItem &item) {
        outcome.signalNames += QStringLiteral("video ");
        outcome.items.append(item);
    });
    QObject::connect(&youtube, &Youtube::playlistDataDownloaded, &youtube, [&](const QVector<VideoItem> &items) {
        outcome.signalNames += QStringLiteral("playlist ");
        outcome.items = items;
    });
    QObject::connect(&youtube, &Youtube::videoDataNotFound, &youtube,
                     [&] { outcome.signalNames += QStringLiteral("not-found "); });
    QUrl url(address);
    outcome.text = isPlaylist ? youtube.downloadPlaylist(url) : youtube.downloadVideo(url);
    return outcome;
}

// Each id followed by ";", so that empty ones show.
QString joined(const QStringList &ids)
{
    return ids.isEmpty() ? QString() : QString(ids.join(QLatin1Char(';')) + QLatin1Char(';'));
}

QString videoIds(const QVector<VideoItem> &items)
{
    QStringList ids;
    for (const VideoItem &item : items)
        ids.append(item.getVideoId());
    return joined(ids);
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
        QTest::addColumn<QString>("expected");

        const auto row = [](const char *name, const QByteArray &body, const char *expected) {
            QTest::newRow(name) << body << QString::fromUtf8(expected);
        };
        const QByteArray begin = "ytplayer.config = ";
        const QJsonObject args{{QStringLiteral("title"), QStringLiteral("a/b <\"c\"> & 'd'")}};
        row("one line", "<html>\n" + titled("T") + "\n</html>", "title T");
        row("the site's own page", DemoSite::watchPage(args), "title a/b <\"c\"> & 'd'");
        row("deep inside a long line", QByteArray(500000, '.') + titled("T") + QByteArray(500000, '.'), "title T");
        row("first of two lines", titled("T") + '\n' + titled("Another"), "title T");
        row("end text in the title", titled("1;ytplayer.load 2"), "title 1;ytplayer.load 2");
        row("last end of the line counts", titled("T") + "if (x) y;ytplayer.load()", "empty");
        row("escapes", titled("a\\/b \\\"c\\\" \\u0026 \\u003cd\\u003e \\u00e9 \\\\ \\t"),
            "title a/b \"c\" & <d> é \\ \t");
        row("escapes of a nested text", titled("{\\\"a\\\":\\\"b\\\\u0026c\\\\u003cd\\\\u003e\\\"}"),
            "title {\"a\":\"b&c<d>\"}");
        row("other scripts", titled("한국어 🎬 \\ud83c\\udfac “q”"), "title 한국어 🎬 🎬 “q”");
        row("broken UTF-8 in the title", titled("caf\xC3"), "title caf\uFFFD");
        row("body cut in the middle of a character", titled("T") + "\xED\x95", "title T");
        row("configuration cut off", config("{\"args\":{\"title\":\"A ti"), "empty");
        row("not an object", config("[1]"), "empty");
        row("nested ten thousand deep", config(QByteArray("{\"a\":").repeated(10000) + "1" + QByteArray(10000, '}')),
            "empty");
        row("empty body", {}, "none");
        row("not HTML", "\xFF\xD8\xFF\xE0 JFIF", "none");
        row("a megabyte of zero bytes", QByteArray(1 << 20, '\0'), "none");
        row("behind a zero byte", QByteArray("<html>\0", 7) + titled("T"), "none");
        row("end on another line", titled("T").replace(";ytplayer", "\n;ytplayer"), "none");
        row("cut off before the end", titled("T").split(';').first(), "none");
        row("other name of the configuration", titled("T").replace("ytplayer.c", "ytplayer_c"), "none");
        row("other name of the end", titled("T").replace("ytplayer.l", "ytplayer_l"), "none");
        row("a hundred thousand beginnings", begin.repeated(100000), "none");
        row("and near ends", QByteArray(begin + ";ytplayer.loa").repeated(100000), "none");
        row("and a good line", begin.repeated(100000) + '\n' + titled("T"), "title T");
    }
    void pageToConfiguration()
    {
        QFETCH(QByteArray, body);
        QElapsedTimer clock;
        clock.start();
        const auto object = PlayerConfig::fromPage(body);
        QVERIFY2(clock.elapsed() < 1000, "It takes far too long.");
        QString found = QStringLiteral("none");
        if (object) {
            const QJsonObject args = object->value(QStringLiteral("args")).toObject();
            found = object->isEmpty() ? QStringLiteral("empty")
                                      : QStringLiteral("title ") + args.value(QStringLiteral("title")).toString();
        }
        QTEST(found, "expected");
    }

    void configurationToRecord_data()
    {
        QTest::addColumn<QByteArray>("args"); // JSON
        QTest::addColumn<QString>("expected");

        const auto row = [](const char *args, const char *expected) {
            QTest::newRow(args) << QByteArray(args) << QString::fromUtf8(expected);
        };
        const auto map = [](const char *text, const char *expected) {
            QTest::newRow(text) << QByteArray("{\"video_id\":\"v\",\"url_encoded_fmt_stream_map\":\"" + QByteArray(text)
                                              + "\"}")
                                << QString(QStringLiteral("valid 00:00:00") + QString::fromUtf8(expected));
        };
        row("7", "invalid 00:00:00, 0||mp4|");
        row("{}", "invalid 00:00:00, 0||mp4|");
        row("{\"video_id\":1,\"title\":[],\"url_encoded_fmt_stream_map\":{}}", "invalid 00:00:00, 0||mp4|");
        row("{\"title\":\"t\",\"length_seconds\":\"3725\"}", "valid 01:02:05, 0||mp4|");
        row("{\"title\":\"t\",\"length_seconds\":\"59\"}", "valid 00:00:59, 0||mp4|");
        row("{\"title\":\"t\",\"length_seconds\":\"360000\"}", "valid 100:00:00, 0||mp4|");
        row("{\"title\":\"t\",\"length_seconds\":\"soon\"}", "valid 00:00:00, 0||mp4|");
        row("{\"title\":\"t\",\"length_seconds\":3725}", "valid 00:00:00, 0||mp4|");
        map("itag=22&url=a%3Db,itag=5&url=c", ", 22|a=b|mp4|1280X720, 5|c|flv|400X240");
        map("url=d&itag=17,itag=18,itag=36,itag=43",
            ", 17|d|3gp|320X240, 18||mp4|640X360, 36||3gp|320X240, 43||webm|640X360");
        map("itag=37&url=a,itag=37&url=b", ", 37|a|mp4|, 37|b|mp4|");
        map("itag=22&itag=5&url=x=y&url", ", 5|x|flv|400X240");
        map("itag=&u%72l=a", ", 0||mp4|");
        map("itag=x&&=&url=a+b%20c%C3%A9", ", 0|a+b cé|mp4|");
        map(",", ", 0||mp4|, 0||mp4|");
    }
    void configurationToRecord()
    {
        QFETCH(QByteArray, args);
        QJsonObject object = QJsonDocument::fromJson("{\"args\":" + args + '}').object();
        const VideoItem item(object);
        QString record = (item.isValid() ? QStringLiteral("valid ") : QStringLiteral("invalid ")) + item.getLength();
        for (const Meta &meta : item.getAvailaibleFormats()) {
            record +=
                QStringLiteral(", %1|%2|%3|%4")
                    .arg(QString::number(meta.getItag()), meta.getUrl(), meta.getExtension(), meta.getResolution());
            QCOMPARE(meta.getSize(), 0);
            QCOMPARE(meta.getHumanReadableSize(), QStringLiteral("0.00 bytes"));
        }
        QTEST(record, "expected");
    }

    void longStreamMapFreezesNothing()
    {
        QJsonObject object{
            {QStringLiteral("args"),
             QJsonObject{{QStringLiteral("url_encoded_fmt_stream_map"), QString(100000, QLatin1Char(','))}}}};
        QElapsedTimer clock;
        clock.start();
        const VideoItem item(object);
        QCOMPARE(item.getAvailaibleFormats().size(), 100001);
        // A quarter of a second on an idle machine; a hundred thousand requests would take far longer.
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
    }

    void probe_data()
    {
        QTest::addColumn<QByteArray>("answered"); // "SITE/good" has 5000 bytes, other addresses have none
        QTest::addColumn<QString>("expected"); // address, size (77 before), text and failure

        const auto row = [](const char *name, const QByteArray &answered, const char *expected) {
            QTest::newRow(name) << answered << QString::fromUtf8(expected);
        };
        const auto length = [&](const QByteArray &value, const char *expected) {
            row(value.constData(), "HTTP/1.1 200 OK\r\nContent-Length: " + value + "\r\n\r\n",
                QByteArray("SITE/first " + QByteArray(expected)).constData());
        };
        length("0", "0 0.00 bytes");
        length("1023", "1023 1023.00 bytes");
        length("1024", "1024 1.00 KB");
        length("1536", "1536 1.50 KB");
        length("1048575", "1048575 1024.00 KB");
        length("1048576", "1048576 1.00 MB");
        length("2147483647", "2147483647 2.00 GB");
        length("2147483648", "0 2.00 GB");
        length("1099511627776", "0 1024.00 GB");
        length("many", "0 0.00 bytes");
        length("12 apples", "0 0.00 bytes");
        length("-5", "0 0.00 bytes");
        length("99999999999999999999", "0 0.00 bytes");
        row("no length", "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n", "SITE/first 0 0.00 bytes");

        const auto moved = [&](const char *name, const QByteArray &location, const char *expected) {
            row(name, answer("302 Found\r\n" + location), expected);
        };
        row("301", answer("301 Moved\r\nLocation: SITE/good\r\n"), "SITE/good 5000 4.88 KB");
        moved("302", "Location: SITE/good\r\n", "SITE/good 5000 4.88 KB");
        moved("escapes stay as sent", "Location: SITE/good?a%20b+c%2Fd%c3%A9&e=%25|\r\n",
              "SITE/good?a%20b+c%2Fd%c3%A9&e=%25| 5000 4.88 KB");
        moved("to nowhere", "Location: SITE/gone\r\n", "SITE/gone 77 77.00 bytes failure");
        moved("to a closed port", "Location: http://127.0.0.1:1/\r\n", "http://127.0.0.1:1/ 77 77.00 bytes failure");
        moved("relative", "Location: /good\r\n", "/good 77 77.00 bytes failure");
        moved("no Location", "", " 77 77.00 bytes failure");
        for (const char *status : {"206", "303", "307", "308"})
            row(status, answer(status + QByteArray(" Other\r\nLocation: SITE/good\r\n")), "SITE/first 77 77.00 bytes");
        for (const char *status : {"404", "500"})
            row(status, answer(status + QByteArray(" Bad\r\n")), "SITE/first 77 77.00 bytes failure");
    }
    void probe()
    {
        QFETCH(QByteArray, answered);
        QByteArray siteAddress;
        const Site site([&](const QByteArray &request, QTcpSocket *) -> QByteArray {
            if (request == "HEAD /first")
                return QByteArray(answered).replace("SITE", siteAddress);
            return request.startsWith("HEAD /good") ? goodHead : answer("404 Gone\r\n");
        });
        siteAddress = site.address().toUtf8();
        Meta meta(22, site.address() + QStringLiteral("/first"));
        meta.setSize(77);
        meta.findVideoSize();

        QString result =
            QStringLiteral("%1 %2 %3").arg(meta.getUrl(), QString::number(meta.getSize()), meta.getHumanReadableSize());
        result.replace(site.address(), QStringLiteral("SITE"));
        if (debugLines.filter(QStringLiteral("Failure")).size() == 1)
            result += QStringLiteral(" failure");
        QTEST(result, "expected");
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
        QTest::addColumn<QString>("ids"); // each followed by ";"

        const auto row = [](const char *name, const char *address, const QByteArray &body, const QString &ids) {
            QTest::newRow(name) << QStringLiteral("http://a.example/") + QString::fromUtf8(address) << body << ids;
        };
        const QByteArray item = "<li class=\"yt-uix-scroller-scroll-unit ";
        const QByteArray tableRow = "<tr class=\"pl-video yt-uix-tile ";
        const QStringList ids = numberedIds(200);
        const QByteArray watchPage =
            DemoSite::watchPlaylistPage({{QStringLiteral("video_id"), ids.at(7)}}, ids.mid(0, 100));
        const QByteArray listPage = DemoSite::playlistPage(ids);
        row("hundred items", "watch?v=1&list=2", watchPage, joined(ids.mid(0, 100)));
        row("two hundred rows", "playlist?list=2", listPage, joined(ids));
        row("items are no rows", "playlist?list=2", watchPage, {});
        row("rows are no items", "watch?v=1&list=2", listPage, {});
        row("path with an escape", "w%61tch", item + "\" data-video-id=\"a\">", QStringLiteral("a;"));
        row("other case", "Watch", item + "\" data-video-id=\"a\">", {});
        row("item that plays", "watch", item + " currently-playing\" data-x=\"1\" data-video-id=\"a-_1\" data-y>\n",
            QStringLiteral("a-_1;"));
        row("attributes in any order", "playlist",
            tableRow + "\" data-set-video-id=\"\" data-video-id=\"a\">\n" + tableRow
                + "\" data-video-id=\"b\" data-set-video-id=\"\">\r\n",
            QStringLiteral("a;b;"));
        row("duplicates and no id", "playlist",
            tableRow + "\" data-video-id=\"a\">\n" + tableRow + "\">\n" + tableRow + "\" data-video-id=\"a\">",
            QStringLiteral("a;;a;"));
        row("two on one line", "playlist", QByteArray(tableRow + "\" data-video-id=\"a\">").repeated(2),
            QStringLiteral("a;"));
        row("tag over two lines", "playlist", tableRow + "\"\ndata-video-id=\"a\">", {});
        row("ampersand", "playlist", tableRow + "\" title=\"x &amp; y\" data-video-id=\"a&amp;b\">",
            QStringLiteral("a&b;"));
        row("behind a zero byte", "playlist", QByteArray(1, '\0') + tableRow + "\" data-video-id=\"a\">", {});
        row("hundred thousand beginnings", "playlist", tableRow.repeated(100000), {});
    }
    void playlistRows()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, body);
        QElapsedTimer clock;
        clock.start();
        const QString found = joined(PlaylistRows::videoIds(body, QUrl(address)));
        QVERIFY2(clock.elapsed() < 1000, "It takes far too long.");
        QTEST(found, "ids");
    }

    void analysesTheDemoSite()
    {
        const Outcome video = analyse(m_demo.videoAddress(), false);
        QCOMPARE(video.text, QString());
        QCOMPARE(video.signalNames, QStringLiteral("video "));
        QCOMPARE(video.items.first().getUrl(), m_demo.videoAddress());
        QCOMPARE(video.items.first().getLength(), QStringLiteral("00:00:12"));
        for (const Meta &meta : video.items.first().getAvailaibleFormats()) {
            QCOMPARE(meta.getSize(),
                     m_demo.mediaFile(m_demo.mediaFileFor(m_demo.demoVideoIds().first(), meta.getItag())).size());
            QVERIFY(!meta.getUrl().contains(QStringLiteral("/redirect")));
        }
        QCOMPARE(debugLines.filter(QStringLiteral("Title : ")).size(), 1);

        for (const QString &address : {m_demo.playlistAddress(), m_demo.watchPlaylistAddress()}) {
            const Outcome playlist = analyse(address, true);
            QCOMPARE(playlist.text, QString());
            QCOMPARE(playlist.signalNames, QStringLiteral("playlist "));
            QCOMPARE(videoIds(playlist.items), joined(m_demo.playlistVideoIds()));
            QCOMPARE(playlist.items.at(1).getTitle(), QStringLiteral("한국어 \"따옴표\" & AC/DC: Ça va? 🎬"));
        }
        QCOMPARE(debugLines.filter(QStringLiteral("Total videos :  3")).size(), 2);
    }

    void outcomes_data()
    {
        QTest::addColumn<QByteArray>("firstPage");
        QTest::addColumn<QByteArray>("secondVideo"); // answer for the watch page of "video-1"; empty: a good one
        QTest::addColumn<QString>("text"); // part of what comes back
        QTest::addColumn<QString>("signalNames");
        QTest::addColumn<int>("items");

        const QByteArray gone = answer("404 Gone\r\n", titled("T"));
        const QByteArray moved = answer("302 Found\r\nLocation: /watch?v=video-0\r\n", "<html></html>");
        const auto list = [](int count) { return page(DemoSite::playlistPage(numberedIds(count))); };
        const auto row = [](const char *name, const QByteArray &first, const QByteArray &second, const char *text,
                            const char *names, int items) {
            QTest::newRow(name) << first << second << QString::fromUtf8(text) << QString::fromUtf8(names) << items;
        };
        row("video: 404", gone, {}, "Gone", "", 0);
        row("video: redirect", moved, {}, "", "not-found ", 0);
        row("video: no configuration", page("<html></html>"), {}, "", "not-found ", 0);
        row("video: configuration cut off", page(config("{\"args\":{")), {}, "", "video ", 1);
        row("video: connection breaks", "CLOSE", {}, "closed", "", 0);
        row("video: no answer at all", {}, {}, "The server did not answer", "", 0);
        row("video: no answer to the end", "HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n<html>", {},
            "The server did not answer", "", 0);
        row("video: endless page", page(QByteArray(33 * 1024 * 1024, ' ')), {}, "The page is too large", "", 0);
        row("playlist: 404", gone, {}, "Gone", "", 0);
        row("playlist: redirect", moved, {}, "", "playlist ", 0);
        row("playlist: empty", list(0), {}, "", "playlist ", 0);
        row("playlist: two hundred", list(200), {}, "", "playlist ", 200);
        row("playlist: second page fails", list(3), gone, "Gone", "", 0);
        row("playlist: second page has no video", list(3), page("<html></html>"), "", "not-found ", 0);
        row("playlist: second configuration cut off", list(3), page(config("{")), "", "playlist ", 3);
    }
    void outcomes()
    {
        QFETCH(QByteArray, firstPage);
        QFETCH(QByteArray, secondVideo);
        QFETCH(QString, text);
        QFETCH(int, items);
        QString siteAddress;
        const Site site([&](const QByteArray &request, QTcpSocket *socket) -> QByteArray {
            if (request == "GET /first") {
                if (firstPage == "CLOSE")
                    socket->disconnectFromHost();
                return firstPage == "CLOSE" ? QByteArray() : firstPage;
            }
            if (request.startsWith("HEAD"))
                return goodHead;
            return request.endsWith("v=video-1") && !secondVideo.isEmpty() ? secondVideo
                                                                           : watchPage(request, siteAddress);
        });
        siteAddress = site.address();
        qputenv("FOURFOLD_SITE", siteAddress.toUtf8());

        NetworkManager::getInstance()->setInactivityLimit(1000);
        const Outcome outcome =
            analyse(siteAddress + QStringLiteral("/first"), QByteArray(QTest::currentDataTag()).startsWith("playlist"));
        NetworkManager::getInstance()->setInactivityLimit(usualInactivityLimit);
        QVERIFY2(outcome.text.contains(text) && outcome.text.isEmpty() == text.isEmpty(), qPrintable(outcome.text));
        QTEST(outcome.signalNames, "signalNames");
        QCOMPARE(outcome.items.size(), items);
        if (items == 200)
            QCOMPARE(videoIds(outcome.items), joined(numberedIds(200)));
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
        QTest::newRow("last probe of a playlist") << true << 9;
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
                return goodHead;
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
        QCOMPARE(outcome.signalNames, QString());
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
