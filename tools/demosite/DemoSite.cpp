#include "DemoSite.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>

#include <QDir>
#include <QFile>
#include <QUrl>
#include <QUrlQuery>

#include "RandomStream.h"

namespace {

constexpr int demoPadding = 1000 * 1000;

struct Video
{
    QString id;
    QString title;
    QString author;
    int seconds;
};

struct Format
{
    int itag;
    QString file;
    bool behindRedirect;
};

const QList<Video> &videos()
{
    static const QList<Video> all{
        {QStringLiteral("testcard-01"), QStringLiteral("Test card with sweep tone"), QStringLiteral("Fourfold"), 12},
        {QStringLiteral("testcard-02"), QStringLiteral("한국어 \"따옴표\" & AC/DC: Ça va? 🎬"),
         QStringLiteral("시험 & Söhne"), 12},
        {QStringLiteral("Test_card03"), QStringLiteral("Colours, counters <and> moving squares; 1/2 or 100%25?"),
         QStringLiteral("Fourfold"), 12},
        {QStringLiteral("testcard-04"),
         QStringLiteral("A title so long that no column holds it: bars, squares, a "
                        "counter, a tone that rises, and nothing else for twelve seconds"),
         QStringLiteral("Fourfold"), 12},
    };
    return all;
}

const QList<Format> &formats()
{
    static const QList<Format> all{
        {22, QStringLiteral("testcard-720p.mp4"), false},
        {18, QStringLiteral("testcard-360p.mp4"), true},
        {43, QStringLiteral("testcard-360p.webm"), false},
        {36, QStringLiteral("testcard-240p.3gp"), false},
    };
    return all;
}

const Video *videoOf(const QString &id)
{
    const auto it =
        std::find_if(videos().cbegin(), videos().cend(), [&id](const Video &video) { return video.id == id; });
    return it == videos().cend() ? nullptr : &*it;
}

const Format *formatOf(int itag)
{
    const auto it = std::find_if(formats().cbegin(), formats().cend(),
                                 [itag](const Format &format) { return format.itag == itag; });
    return it == formats().cend() ? nullptr : &*it;
}

QByteArray mediaType(const QString &file)
{
    if (file.endsWith(QLatin1String(".webm")))
        return QByteArrayLiteral("video/webm");
    if (file.endsWith(QLatin1String(".3gp")))
        return QByteArrayLiteral("video/3gpp");
    return QByteArrayLiteral("video/mp4");
}

HttpAnswer html(const QByteArray &body)
{
    HttpAnswer answer;
    answer.body = body;
    return answer;
}

HttpAnswer plain(int status, const QByteArray &text)
{
    HttpAnswer answer;
    answer.status = status;
    answer.contentType = QByteArrayLiteral("text/plain; charset=utf-8");
    answer.body = text;
    return answer;
}

HttpAnswer fromPage(const DemoSite::Page &page)
{
    HttpAnswer answer;
    answer.status = page.status;
    answer.body = page.body;
    answer.contentType = page.contentType;
    answer.headers = page.headers;
    return answer;
}

QList<DemoPages::Row> numberedRows(const QStringList &ids)
{
    QList<DemoPages::Row> rows;
    for (const QString &id : ids)
        rows.append({id, QStringLiteral("Video \"%1\" & more").arg(rows.size() + 1)});
    return rows;
}

} // namespace

DemoSite::DemoSite()
    : DemoSite(Options())
{
}

DemoSite::DemoSite(const Options &options)
    : m_options(options)
    , m_server([this](const Request &request) { return answer(request); })
{
}

DemoSite::~DemoSite() = default;

bool DemoSite::start()
{
    if (!loadMedia())
        return false;
    if (m_server.start(m_options.port))
        return true;
    m_errorString = m_server.errorString();
    return false;
}

QString DemoSite::errorString() const
{
    return m_errorString;
}

QString DemoSite::address() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_server.port());
}

void DemoSite::setPage(const QString &pathAndQuery, const Page &page)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pages.insert(pathAndQuery, page);
}

void DemoSite::setUpdateReply(const QByteArray &body, int status)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_updateReply.body = body;
    m_updateReply.status = status;
    m_updateReplySet = true;
}

QVector<DemoSite::Request> DemoSite::requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

void DemoSite::clearRequests()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.clear();
}

QString DemoSite::videoAddress() const
{
    return address() % QStringLiteral("/watch?v=") % videos().constFirst().id;
}

QString DemoSite::playlistAddress() const
{
    return address() % QStringLiteral("/playlist?list=DEMO");
}

QString DemoSite::watchPlaylistAddress() const
{
    return videoAddress() % QStringLiteral("&list=DEMO");
}

QString DemoSite::updateAddress() const
{
    return address() % QStringLiteral("/update?ver=%1");
}

QStringList DemoSite::demoVideoIds() const
{
    QStringList ids;
    for (const Video &video : videos())
        ids.append(video.id);
    return ids;
}

QStringList DemoSite::playlistVideoIds() const
{
    return demoVideoIds().mid(0, 3);
}

QString DemoSite::mediaFileFor(const QString &videoId, int itag) const
{
    const Format *format = formatOf(itag);
    return videoOf(videoId) && format ? format->file : QString();
}

QByteArray DemoSite::mediaFile(const QString &name) const
{
    return m_media.value(name);
}

QByteArray DemoSite::watchPage(const QJsonObject &args, int paddingBytes)
{
    return DemoPages::watchPage(args, paddingBytes);
}

QByteArray DemoSite::watchPlaylistPage(const QJsonObject &args, const QStringList &ids, int paddingBytes)
{
    return DemoPages::watchPlaylistPage(args, numberedRows(ids), paddingBytes);
}

QByteArray DemoSite::playlistPage(const QStringList &ids)
{
    return DemoPages::playlistPage(numberedRows(ids));
}

QString DemoSite::streamMap(const QList<QPair<int, QString>> &itagAndUrl)
{
    return DemoPages::streamMap(itagAndUrl);
}

QByteArray DemoSite::streamBytes(quint64 seed, qint64 offset, qint64 length)
{
    return RandomStream::bytes(seed, offset, length);
}

QByteArray DemoSite::streamSha256(quint64 seed, qint64 size)
{
    return RandomStream::sha256(seed, size);
}

bool DemoSite::loadMedia()
{
    const QDir folder(QStringLiteral(FOURFOLD_DEMOSITE_MEDIA));
    for (const Format &format : formats()) {
        QFile file(folder.filePath(format.file));
        if (!file.open(QIODevice::ReadOnly)) {
            m_errorString = QStringLiteral("%1: %2").arg(file.fileName(), file.errorString());
            return false;
        }
        m_media.insert(format.file, file.readAll());
    }
    return true;
}

HttpAnswer DemoSite::answer(const Request &request)
{
    const QString target = QString::fromUtf8(request.target);
    const QString path = target.section(QLatin1Char('?'), 0, 0);
    const QString queryText = target.section(QLatin1Char('?'), 1);
    const QUrlQuery query(queryText);
    const auto value = [&query](const QString &key) { return query.queryItemValue(key, QUrl::FullyDecoded); };
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.append(request);
        const auto whole = m_pages.constFind(target);
        const auto found = whole == m_pages.constEnd() ? m_pages.constFind(path) : whole;
        if (found != m_pages.constEnd())
            return fromPage(*found);
    }

    const QString media = QStringLiteral("/videoplayback/");
    if (path == QLatin1String("/"))
        return indexPage();
    if (path == QLatin1String("/watch"))
        return watchPageFor(value(QStringLiteral("v")), value(QStringLiteral("list")));
    if (path == QLatin1String("/playlist")) {
        const bool known = value(QStringLiteral("list")) == QLatin1String("DEMO");
        return html(DemoPages::playlistPage(known ? playlistRows() : QList<DemoPages::Row>()));
    }
    if (path.startsWith(media))
        return mediaStream(path.mid(media.size()));
    if (path == QLatin1String("/stream"))
        return randomStream(queryText);
    if (path == QLatin1String("/loop"))
        return redirect(302, target);
    for (const auto &[prefix, status] :
         {qMakePair(QStringLiteral("/redirect"), 302), qMakePair(QStringLiteral("/redirect301"), 301)}) {
        if (path.startsWith(prefix % QLatin1Char('/')))
            return redirect(status, target.mid(prefix.size()));
    }
    if (path == QLatin1String("/update"))
        return updateReply();
    if (path == QLatin1String("/update/latest"))
        return plain(200, QByteArrayLiteral("latest"));
    if (path == QLatin1String("/download"))
        return html(DemoPages::plainPage(QStringLiteral("Download"),
                                         QStringLiteral("<p>There is no newer build: this is a demo.</p>\n")));
    return plain(404, QByteArrayLiteral("Not found\n"));
}

HttpAnswer DemoSite::indexPage() const
{
    const auto item = [](const QString &address, const QString &text) {
        return QStringLiteral("<li>%1: <a href=\"%2\">%2</a></li>\n")
            .arg(text.toHtmlEscaped(), address.toHtmlEscaped());
    };
    QString list;
    for (const Video &video : videos())
        list += item(address() % QStringLiteral("/watch?v=") % video.id, video.title);
    list += item(playlistAddress(), QStringLiteral("Playlist"));
    list += item(watchPlaylistAddress(), QStringLiteral("Video within the playlist"));
    return html(DemoPages::plainPage(
        QStringLiteral("Demo site"),
        QStringLiteral("<h1>Demo site</h1>\n<p>Addresses to paste into the application:</p>\n<ul>\n%1</ul>\n")
            .arg(list)));
}

HttpAnswer DemoSite::watchPageFor(const QString &id, const QString &list) const
{
    if (!videoOf(id)) {
        return html(DemoPages::plainPage(QStringLiteral("Video unavailable"),
                                         QStringLiteral("<h1>This video is unavailable.</h1>\n")));
    }
    if (list == QLatin1String("DEMO"))
        return html(DemoPages::watchPlaylistPage(argsOf(id), playlistRows(), demoPadding));
    return html(DemoPages::watchPage(argsOf(id), demoPadding));
}

HttpAnswer DemoSite::mediaStream(const QString &name) const
{
    const auto found = m_media.constFind(name);
    if (found == m_media.constEnd())
        return plain(404, QByteArrayLiteral("Not found\n"));
    HttpAnswer answer;
    answer.contentType = mediaType(name);
    answer.size = found->size();
    answer.bytesPerSecond = m_options.bytesPerSecond;
    answer.fill = [data = *found](qint64 offset, char *to, qint64 length) {
        std::memcpy(to, data.constData() + offset, size_t(length));
    };
    return answer;
}

HttpAnswer DemoSite::randomStream(const QString &queryText) const
{
    const QUrlQuery query(queryText);
    const auto number = [&query](const QString &key, qint64 absent) -> std::optional<qint64> {
        if (!query.hasQueryItem(key))
            return absent;
        bool isNumber = false;
        const qint64 value = query.queryItemValue(key).toLongLong(&isNumber);
        return isNumber && value >= 0 ? std::optional<qint64>(value) : std::nullopt;
    };
    const auto size = number(QStringLiteral("size"), 0);
    const auto rate = number(QStringLiteral("rate"), m_options.bytesPerSecond);
    bool seedIsNumber = false;
    const quint64 seed = query.queryItemValue(QStringLiteral("seed")).toULongLong(&seedIsNumber);
    if (!size || !rate || (!seedIsNumber && query.hasQueryItem(QStringLiteral("seed"))))
        return plain(400, QByteArrayLiteral("Expected /stream?size=N&seed=S[&rate=R]\n"));

    HttpAnswer answer;
    answer.contentType = QByteArrayLiteral("application/octet-stream");
    answer.size = *size;
    answer.bytesPerSecond = *rate;
    answer.fill = [seed](qint64 offset, char *to, qint64 length) { RandomStream::fill(seed, offset, to, length); };
    return answer;
}

HttpAnswer DemoSite::updateReply() const
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_updateReplySet)
            return fromPage(m_updateReply);
    }
    HttpAnswer answer = html(QStringLiteral("<product name=\"Video Downloader\" version=\"9.0.0\" url=\"%1/download\">"
                                            "Video Downloader 9.0.0<br/>\n"
                                            "- Downloads arrive before they are asked for<br/>\n"
                                            "- Four ranges &amp; one file, as ever<br/>\n"
                                            "- <b>Fixes</b> for faults that nobody has seen yet\n"
                                            "</product>")
                                 .arg(address())
                                 .toUtf8());
    answer.contentType = QByteArrayLiteral("text/xml; charset=utf-8");
    return answer;
}

HttpAnswer DemoSite::redirect(int status, const QString &target) const
{
    HttpAnswer answer = plain(status, QByteArrayLiteral("Moved\n"));
    answer.headers.append({QByteArrayLiteral("Location"), (address() % target).toUtf8()});
    return answer;
}

QJsonObject DemoSite::argsOf(const QString &id) const
{
    const Video *video = videoOf(id);
    QList<QPair<int, QString>> streams;
    for (const Format &format : formats())
        streams.append({format.itag, streamAddress(id, format.itag)});
    return {
        {QStringLiteral("video_id"), video->id},
        {QStringLiteral("title"), video->title},
        {QStringLiteral("author"), video->author},
        {QStringLiteral("thumbnail_url"),
         QString(address() % QStringLiteral("/vi/") % id % QStringLiteral("/default.jpg"))},
        {QStringLiteral("loadedUrl"), QString(address() % QStringLiteral("/watch?v=") % id)},
        {QStringLiteral("length_seconds"), QString::number(video->seconds)},
        {QStringLiteral("keywords"), QStringLiteral("test,card,<demo>")},
        {QStringLiteral("allow_ratings"), 1},
        {QStringLiteral("url_encoded_fmt_stream_map"), streamMap(streams)},
    };
}

QString DemoSite::streamAddress(const QString &id, int itag) const
{
    const Format *format = formatOf(itag);
    return address() % (format->behindRedirect ? QStringLiteral("/redirect") : QString())
        % QStringLiteral("/videoplayback/") % format->file % QStringLiteral("?id=") % id % QStringLiteral("&itag=")
        % QString::number(itag);
}

QList<DemoPages::Row> DemoSite::playlistRows() const
{
    QList<DemoPages::Row> rows;
    for (const QString &id : playlistVideoIds())
        rows.append({id, videoOf(id)->title});
    return rows;
}
