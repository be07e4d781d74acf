#include "benchmarks/ProcessFigures.h"
#include "DemoSite.h"
#include "support/ResourceLimit.h"
#include "support/ScriptedServer.h"
#include "support/TestMain.h"
#include "support/TextTable.h"
#include "youtube/NetworkManager.h"
#include "youtube/PlayerConfig.h"
#include "youtube/PlaylistRows.h"
#include "youtube/Site.h"
#include "youtube/Youtube.h"

#include <QJsonDocument>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTimer>
#include <QUrl>

#include <memory>

Q_DECLARE_METATYPE(Reply)

namespace {

QByteArray config(const QByteArray &json)
{
    return "<script>ytplayer.config = " + json + ";ytplayer.load();</script>";
}

QByteArray titled(const QByteArray &jsonTitle)
{
    return config("{\"args\":{\"title\":\"" + jsonTitle + "\"}}");
}

// A good site: a playlist of three videos, each with two formats of 5000 bytes.
Reply goodAnswer(const Request &request, const QString &site)
{
    if (request.method == "HEAD")
        return {200, QByteArray(5000, ' ')};
    if (request.target.startsWith("/playlist"))
        return {200, DemoSite::playlistPage({"a"_s, "b"_s, "c"_s})};
    const QString id = QString::fromUtf8(request.target.mid(request.target.indexOf('=') + 1));
    const QString map = DemoSite::streamMap({{22, site + "/22"_s}, {18, site + "/18"_s}});
    return {200, DemoSite::watchPage({{"video_id"_s, id}, {"url_encoded_fmt_stream_map"_s, map}})};
}

// What came of an analysis: the signal and the ids, or the text.
QString analyse(const QString &site, const QString &target)
{
    qputenv("FOURFOLD_SITE", site.toUtf8());
    QString outcome;
    Youtube youtube;
    const auto note = [&outcome](const QString &signal, const QVector<VideoItem> &items) {
        outcome += signal;
        for (const VideoItem &item : items) {
            outcome += QLatin1Char(' ') + item.getVideoId();
            for (const Meta &meta : item.getAvailaibleFormats())
                outcome += QLatin1Char('/') + QString::number(meta.getSize());
        }
    };
    QObject::connect(&youtube, &Youtube::videoDataDownloaded, &youtube,
                     [&](const VideoItem &item) { note("video"_s, {item}); });
    QObject::connect(&youtube, &Youtube::playlistDataDownloaded, &youtube,
                     [&](const QVector<VideoItem> &items) { note("playlist"_s, items); });
    QObject::connect(&youtube, &Youtube::videoDataNotFound, &youtube, [&] { note("not found"_s, {}); });
    QUrl url(site + target);
    const bool isPlaylist = target.startsWith("/playlist"_s);
    return outcome + (isPlaylist ? youtube.downloadPlaylist(url) : youtube.downloadVideo(url));
}

} // namespace

class TestYoutube final : public QObject
{
    Q_OBJECT

private slots:
    void init() { NetworkManager::getInstance()->setInactivityLimit(NetworkManager::inactivityLimit); }

    void site()
    {
        QVERIFY(qunsetenv("FOURFOLD_SITE"));
        QCOMPARE(Site::address() + QLatin1Char(' ') + Site::secureDomain(), "https://www.youtube.com youtube.com"_s);
    }

    void pageToConfiguration_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");

        const auto row = [](const char *name, const QByteArray &body, const char *expected) {
            QTest::newRow(name) << body << QString::fromUtf8(expected);
        };
        row("the site's own page", DemoSite::watchPage({{"title"_s, "a/b <\"c\"> & 'd'"_s}}),
            "title a/b <\"c\"> & 'd'");
        row("first of two lines", QByteArray(500000, '.') + titled("T") + '\n' + titled("Another"), "title T");
        row("last end of the line counts", titled("T") + "if (x) y;ytplayer.load()", "empty");
        row("escapes", titled("a\\/b \\\"c\\\" \\u0026 \\u003cd\\u003e \\u00e9 \\\\ \\t"),
            "title a/b \"c\" & <d> é \\ \t");
        row("escapes of a nested text", titled("{\\\"a\\\":\\\"b\\\\u0026c\\\\u003cd\\\\u003e\\\"}"),
            "title {\"a\":\"b&c<d>\"}");
        row("other scripts", titled("한국어 🎬 \\ud83c\\udfac “q”"), "title 한국어 🎬 🎬 “q”");
        row("body cut in the middle of a character", titled("T") + "\xED\x95", "title T");
        row("behind a zero byte", QByteArray(1, '\0') + titled("T"), "none");
        row("end on another line", titled("T").replace(";ytplayer", "\n;ytplayer"), "none");
        row("beginnings and a good line",
            QByteArray("ytplayer.config = ;ytplayer.loa").repeated(100000) + '\n' + titled("T"), "title T");
    }
    void pageToConfiguration()
    {
        QFETCH(QByteArray, body);
        const auto object = PlayerConfig::fromPage(body);
        QString found = object ? "empty"_s : "none"_s;
        if (object && !object->isEmpty())
            found = "title "_s + object->value("args"_s).toObject().value("title"_s).toString();
        QTEST(found, "expected");
    }

    void configurationToRecord_data()
    {
        textTable(
            "record",
            {R"(7 -> invalid 00:00:00, 0||mp4|)",
             R"({"video_id":1,"title":[],"url_encoded_fmt_stream_map":{}} -> invalid 00:00:00, 0||mp4|)",
             R"({"title":"t","length_seconds":"3725"} -> valid 01:02:05, 0||mp4|)",
             R"({"author":"a","thumbnail_url":"t","loadedUrl":"u"} -> invalid 00:00:00, 0||mp4|, a, t, u)",
             R"({"title":"t","length_seconds":"3599"} -> valid 00:59:59, 0||mp4|)",
             R"({"title":"t","length_seconds":"360000"} -> valid 100:00:00, 0||mp4|)",
             R"(itag=22&url=a%3Db,itag=5&url=c -> valid 00:00:00, 22|a=b|mp4|1280X720, 5|c|flv|400X240)",
             R"(url=d&itag=17,itag=18,itag=36,itag=43 -> valid 00:00:00, 17|d|3gp|320X240, 18||mp4|640X360, 36||3gp|320X240, 43||webm|640X360)",
             R"(itag=22&itag=5&url=x=y&url -> valid 00:00:00, 5|x|flv|400X240)",
             R"(itag=x&&=&u%72l=b&url=a+b%20c%C3%A9%00d -> valid 00:00:00, 0|a+b cé@d|mp4|)",
             R"(, -> valid 00:00:00, 0||mp4|, 0||mp4|)"});
    }
    void configurationToRecord()
    {
        QByteArray args = QTest::currentDataTag();
        if (args.contains("itag=") || args == ",")
            args = "{\"video_id\":\"v\",\"url_encoded_fmt_stream_map\":\"" + args + "\"}";
        QJsonObject object = QJsonDocument::fromJson("{\"args\":" + args + '}').object();
        const VideoItem item(object);
        QString record = (item.isValid() ? "valid "_s : "invalid "_s) + item.getLength();
        for (const Meta &meta : item.getAvailaibleFormats()) {
            const QString itag = QString::number(meta.getItag());
            record += ", %1|%2|%3|%4"_s.arg(itag, meta.getUrl(), meta.getExtension(), meta.getResolution());
            QCOMPARE(meta.getHumanReadableSize(), "0.00 bytes"_s);
        }
        VideoItem copy;
        copy.setAuthor(item.getAuthor());
        copy.setThumbnail(item.getThumbnail());
        copy.setUrl(item.getUrl());
        if (!copy.getAuthor().isEmpty())
            record += ", %1, %2, %3"_s.arg(copy.getAuthor(), copy.getThumbnail(), copy.getUrl());
        QTEST(record.replace(QChar::Null, QLatin1Char('@')), "record");
    }

    void playlistRows_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("ids");

        const auto row = [](const char *name, const char *address, const QByteArray &body, const char *ids) {
            QTest::newRow(name) << "http://a.example/"_s + QString::fromUtf8(address) << body << QString::fromUtf8(ids);
        };
        const QByteArray item = "<li class=\"yt-uix-scroller-scroll-unit ";
        const QByteArray line = "<tr class=\"pl-video yt-uix-tile ";
        const QByteArray watchPage = DemoSite::watchPlaylistPage({}, {"a"_s, "b"_s});
        const QByteArray listPage = DemoSite::playlistPage({"a"_s, "b"_s});
        row("items", "watch?v=1&list=2", watchPage, "a;b");
        row("rows", "playlist?list=2", listPage, "a;b");
        row("path with an escape", "w%61tch", item + "\" data-video-id=\"a\">", "a");
        row("other attributes, duplicates and no id", "playlist",
            line + "\" data-set-video-id=\"\" data-video-id=\"a-_1\" data-y>\r\n" + line + "\">\n" + line
                + "\" data-video-id=\"a-_1\">",
            "a-_1;;a-_1");
        row("ampersand", "playlist", line + "\" data-video-id=\"a&amp;b\">", "a&b");
        row("behind a zero byte", "playlist", QByteArray(1, '\0') + line + "\" data-video-id=\"a\">", "");
    }
    void playlistRows()
    {
        QFETCH(QString, address);
        QFETCH(QByteArray, body);
        QTEST(PlaylistRows::videoIds(body, QUrl(address)).join(QLatin1Char(';')), "ids");
    }

    // Status and header that "SITE/first" answers with; "SITE/good" has 5000 bytes, and a number leads to the next one.
    void probe_data()
    {
        textTable(
            "found", // address, size (77 before), text and failure
            {"200 Content-Length: 1536 -> SITE/first 1536 1.50 KB",
             "200 Content-Length: 1048576 -> SITE/first 1048576 1.00 MB",
             "200 Content-Length: 2147483647 -> SITE/first 2147483647 2.00 GB",
             "200 Content-Length: 2147483648 -> SITE/first 0 2.00 GB",
             "200 Content-Length: 12 apples -> SITE/first 0 0.00 bytes",
             "200 Content-Length: -5 -> SITE/first 0 0.00 bytes",
             "200 Content-Length: 99999999999999999999 -> SITE/first 0 0.00 bytes",
             "200 No-Length: at all -> SITE/first 0 0.00 bytes", "301 Location: SITE/good -> SITE/good 5000 4.88 KB",
             "302 Location: SITE/good?a%20b+c%2Fd%c3%A9|%25 -> SITE/good?a%20b+c%2Fd%c3%A9|%25 5000 4.88 KB",
             "302 Location: SITE/gone -> SITE/gone 77 77.00 bytes failure",
             "302 Location: /good -> /good 77 77.00 bytes failure",
             "302 Location: file:///dev/zero -> file:///dev/zero 77 77.00 bytes failure",
             "302 No-Location: at all ->  77 77.00 bytes failure", "302 Location: SITE/2 -> SITE/good 5000 4.88 KB",
             "302 Location: SITE/1 -> SITE/20 77 77.00 bytes failure",
             "302 Location: SITE/first -> SITE/first 77 77.00 bytes failure",
             "307 Location: SITE/good -> SITE/first 77 77.00 bytes",
             "404 Location: SITE/good -> SITE/first 77 77.00 bytes failure"});
    }
    void probe()
    {
        QFETCH(QString, found);
        const ScriptedServer server([&](const Request &request) -> Reply {
            const QByteArray tag = QTest::currentDataTag();
            const int hop = request.target.mid(1).toInt();
            Reply answer{404};
            if (request.target.startsWith("/good"))
                answer = {200, QByteArray(5000, ' ')};
            else if (request.target == "/first")
                answer = {tag.left(3).toInt(), {}, tag.mid(4) + "\r\n", Reply::Keep, 0, QByteArray()};
            else if (hop > 0)
                answer = {302, {}, "Location: SITE/" + (hop < 20 ? QByteArray::number(hop + 1) : "good") + "\r\n"};
            answer.headers.replace("SITE", server.address().toUtf8());
            return answer;
        });
        const bool fails = found.endsWith(" failure"_s);
        if (fails)
            QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^Failure "_s));
        Meta meta(22, server.address("/first"_s));
        meta.setSize(77);
        meta.findVideoSize();
        QString text = "%1 %2 %3"_s.arg(meta.getUrl(), QString::number(meta.getSize()), meta.getHumanReadableSize());
        text.replace(server.address(), "SITE"_s);
        QCOMPARE(fails ? text + " failure"_s : text, found);
        QVERIFY(server.requests().size() <= 21);
    }

    void outcomes_data()
    {
        QTest::addColumn<Reply>("answer"); // in place of the good one
        QTest::addColumn<QByteArray>("target"); // that it is for
        QTest::addColumn<QString>("video"); // outcome of the watch page
        QTest::addColumn<QString>("playlist"); // and of the playlist, whose second video it is

        const auto row = [](const char *name, const Reply &answer, const QByteArray &target, const char *video,
                            const char *playlist) {
            QTest::newRow(name) << answer << target << QString::fromLatin1(video) << QString::fromLatin1(playlist);
        };
        const auto videoRow = [&](const char *name, const Reply &answer, const char *outcome) {
            row(name, answer, "/watch?v=b", outcome, outcome);
        };
        constexpr const char *good = "video b/5000/5000";
        row("good", {}, {}, good, "playlist a/5000/5000 b/5000/5000 c/5000/5000");
        row("empty playlist", {}, "/playlist", good, "playlist");
        row("configuration cut off", {200, config("{")}, "/watch?v=b", "video /0",
            "playlist a/5000/5000 /0 c/5000/5000");
        const QByteArray deflated = qCompress(titled("T")).mid(4);
        for (const QByteArray &body : {deflated, deflated.mid(2).chopped(4)})
            row(body == deflated ? "deflated" : "deflated, bare", {200, body, "Content-Encoding: deflate\r\n"},
                "/watch?v=b", "video /0", "playlist a/5000/5000 /0 c/5000/5000");
        const QByteArray zipped = QByteArray::fromBase64("H4sIAAAAAAACA7MpTi7KLCixqywpyEmsTC3SS87PS8tMV7BVqFZKLEovVrKqV"
                                                         "irJLMlJVbJSClGqrbWGK8zJT0zR0LS20YeaAAAKST1tSgAAAA==");
        row("zipped", {200, zipped, "Content-Encoding: gzip\r\n"}, "/watch?v=b", "video /0",
            "playlist a/5000/5000 /0 c/5000/5000");
        videoRow("packed otherwise than said", {200, titled("T"), "Content-Encoding: gzip\r\n"},
                 "The page is in no encoding that can be read");
        videoRow("no page", {404}, "Error transferring SITE/watch?v=b - server replied: Scripted");
        videoRow("redirect", {302, {}, "Location: SITE/watch?v=a\r\n"}, "not found");
        videoRow("breaks off", {0, {}, {}, Reply::Close}, "Connection closed");
        videoRow("no answer", {0}, "The server did not answer");
        videoRow("no answer to the end", {200, "<html>", {}, Reply::Keep, 3}, "The server did not answer");
    }
    void outcomes()
    {
        QFETCH(Reply, answer);
        QFETCH(QByteArray, target);
        const ScriptedServer server([&](const Request &request) {
            return request.target == target ? answer : goodAnswer(request, server.address());
        });
        NetworkManager::getInstance()->setInactivityLimit(1000);
        const auto outcome = [&](const char *path) {
            return analyse(server.address(), QLatin1String(path)).replace(server.address(), "SITE"_s);
        };
        QTEST(outcome("/watch?v=b"), "video");
        QTEST(outcome("/playlist"), "playlist");
        QVERIFY(!NetworkManager::getInstance()->isInterrupted());
    }

    void compressedBomb()
    {
        const ScriptedServer server([](const Request &) {
            Reply reply = Reply::bomb(200);
            reply.contentLength = "99999999";
            return reply;
        });
        QCOMPARE(analyse(server.address(), "/watch?v=a"_s), "The page is too large"_s);
        QVERIFY(ProcessFigures::peakResidentBytes() < 256 * 1024 * 1024);
    }

    // Qt would read it for ever.
    void fileWithoutAnEnd()
    {
        QUrl url("file:///dev/zero"_s);
        const std::unique_ptr<QNetworkReply> page(NetworkManager::getInstance()->getWebPage(url));
        QCOMPARE(NetworkManager::errorText(*page), "The address is no web address"_s);
    }

    // The outer wait's answer comes first, yet the inner call returns first: each with its own reply.
    void nestedWaits()
    {
        QList<QByteArray> returned;
        const auto fetch = [&returned](const ScriptedServer &server) {
            QUrl url(server.address());
            const std::unique_ptr<QNetworkReply> page(NetworkManager::getInstance()->getWebPage(url));
            QCOMPARE(page->request().url(), url);
            returned += page->read(2);
            QCOMPARE(page->bytesAvailable(), 3);
            returned.last() += page->readAll();
        };
        ScriptedServer outer([](const Request &) { return Reply{200, "outer"}; });
        outer.hold();
        const ScriptedServer inner([&outer](const Request &) {
            outer.release();
            Reply reply{200, "inner", "X: " + QByteArray(5000, 'x') + "\r\n"};
            reply.bytesPerTurn = 1;
            return reply;
        });
        QTimer::singleShot(0, this, [&] { fetch(inner); });
        fetch(outer);
        QCOMPARE(returned, (QList<QByteArray>{"inner", "outer"}));
    }

    // Qt's network thread would take the process with it.
    void descriptorsRunOut()
    {
        const ScriptedServer server([](const Request &) { return Reply(); });
        QUrl url(server.address());
        for (const int spare : {0, 2}) {
            const ResourceLimit limit(RLIMIT_NOFILE, ResourceLimit::spareDescriptors(spare));
            const std::unique_ptr<QNetworkReply> page(NetworkManager::getInstance()->getWebPage(url));
            const std::unique_ptr<QNetworkReply> head(NetworkManager::getInstance()->head(url));
            QCOMPARE(NetworkManager::errorText(*page), "Too many open files"_s);
            QCOMPARE(NetworkManager::errorText(*head), "Too many open files"_s);
        }
        QVERIFY(server.requests().isEmpty());
    }
};

FOURFOLD_TEST_MAIN(QCoreApplication, TestYoutube)

#include "tst_youtube.moc"
