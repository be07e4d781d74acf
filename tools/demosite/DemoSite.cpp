#include "DemoSite.h"

#include <QCryptographicHash>
#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>

#include <httplib.h>

namespace {

constexpr auto host = "127.0.0.1";
constexpr int connections = 128; // each has a thread while it is open
constexpr time_t idleSeconds = 1; // the end of the server waits for as long where the library is an old one
constexpr size_t requestsPerConnection = 1000000;
constexpr int pagePadding = 300 * 1000; // bytes
constexpr auto paceStep = std::chrono::milliseconds(25);

const QList<DemoPages::Row> &demoVideos()
{
    static const QList<DemoPages::Row> all{
        {QStringLiteral("testcard-01"), QStringLiteral("Test card with sweep tone")},
        {QStringLiteral("testcard-02"), QStringLiteral("한국어 \"따옴표\" & AC/DC: Ça va? 🎬")},
        {QStringLiteral("Test_card03"), QStringLiteral("Colours, counters <and> moving squares; 1/2 or 100%25?")},
        {QStringLiteral("testcard-04"),
         QStringLiteral("A title so long that no column holds it: bars, squares, a counter, a tone that rises, and "
                        "nothing else for twelve seconds")},
    };
    return all;
}

struct Format
{
    int itag;
    const char *file;
    const char *type;
    const char *path;
};

constexpr Format formats[] = {
    {22, "testcard-720p.mp4", "video/mp4", "/videoplayback/"},
    {18, "testcard-360p.mp4", "video/mp4", "/redirect/videoplayback/"},
    {43, "testcard-360p.webm", "video/webm", "/videoplayback/"},
    {36, "testcard-240p.3gp", "video/3gpp", "/videoplayback/"},
};

constexpr quint64 golden = 0x9e3779b97f4a7c15;

// The finishing step of splitmix64, a bijection of 64-bit numbers.
constexpr quint64 mix(quint64 z)
{
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
}

// Endless bytes computed from seed and offset alone: no two aligned groups of eight in a stream are equal.
void fillFromStream(quint64 seed, qint64 offset, char *to, qint64 length)
{
    // Mixing the seed first keeps the streams of neighbouring seeds from being shifts of each other.
    const quint64 start = mix(seed);
    while (length > 0) {
        const quint64 word = qToLittleEndian(mix(start + (quint64(offset) / 8 + 1) * golden));
        const qint64 skip = offset % 8;
        const qint64 count = std::min(8 - skip, length);
        std::memcpy(to, reinterpret_cast<const char *>(&word) + skip, size_t(count));
        offset += count;
        to += count;
        length -= count;
    }
}

qint64 number(const httplib::Request &request, const char *name, qint64 absent)
{
    const QByteArray text = QByteArray::fromStdString(request.get_param_value(name));
    return request.has_param(name) ? std::max<qint64>(text.toLongLong(), 0) : absent;
}

using Streams = QList<QPair<int, QString>>;
using Source = std::function<void(qint64 offset, char *to, qint64 length)>;

// The library takes the asked ranges out of it.
void send(const Source &source, qint64 size, const std::string &contentType, qint64 bytesPerSecond,
          const httplib::Request &request, httplib::Response &response)
{
    // Not every version of the library looks whether there are so many bytes.
    for (const auto &[first, last] : request.ranges) {
        if (std::max(first, last) >= size) {
            response.status = 416;
            response.set_header("Content-Range", "bytes */" + std::to_string(size));
            return;
        }
    }
    if (size == 0) {
        response.set_content(std::string(), contentType);
        return;
    }
    using Clock = std::chrono::steady_clock;
    response.set_content_provider(
        size_t(size), contentType,
        [source, bytesPerSecond, due = Clock::now()](size_t offset, size_t left, httplib::DataSink &sink) mutable {
            std::array<char, 64 * 1024> piece;
            qint64 length = qint64(std::min(left, piece.size()));
            if (bytesPerSecond > 0) {
                length = std::clamp<qint64>(bytesPerSecond / (std::chrono::seconds(1) / paceStep), 1, length);
                // A slow reader gets no burst afterwards to make up for lost time.
                due = std::max(due, Clock::now() - paceStep)
                    + std::chrono::nanoseconds(std::chrono::seconds(length)) / bytesPerSecond;
                std::this_thread::sleep_until(due);
            }
            source(qint64(offset), piece.data(), length);
            return sink.write(piece.data(), size_t(length));
        });
}

// Unlike the library's set_content(), it compresses nothing.
void send(const QByteArray &bytes, const std::string &contentType, qint64 bytesPerSecond,
          const httplib::Request &request, httplib::Response &response)
{
    const auto copy = [bytes](qint64 offset, char *to, qint64 length) {
        std::memcpy(to, bytes.constData() + offset, size_t(length));
    };
    send(copy, bytes.size(), contentType, bytesPerSecond, request, response);
}

} // namespace

DemoSite::DemoSite(const Options &options)
    : m_options(options)
    , m_server(std::make_unique<httplib::Server>())
{
    m_server->new_task_queue = [] { return new httplib::ThreadPool(connections); };
    m_server->set_tcp_nodelay(true);
    m_server->set_keep_alive_timeout(idleSeconds);
    m_server->set_keep_alive_max_count(requestsPerConnection);
    // The library's default lets a second server share a port that is taken.
    m_server->set_socket_options([this](socket_t listening) {
        const int yes = 1;
        ::setsockopt(listening, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        m_listening = listening;
    });
    addRoutes();
}

DemoSite::~DemoSite()
{
    m_server->stop();
    if (m_thread.joinable())
        m_thread.join();
}

bool DemoSite::start()
{
    int port = m_options.port;
    if (port == 0)
        port = m_server->bind_to_any_port(host);
    else if (!m_server->bind_to_port(host, port))
        port = -1;
    if (port < 0) {
        m_errorString = QStringLiteral("Port %1 cannot be opened; is it taken?").arg(m_options.port);
        return false;
    }
    m_address = QStringLiteral("http://%1:%2").arg(QLatin1String(host), QString::number(port));
    addPages();
    // The library lets five connections wait, too few for many downloads at once.
    ::listen(m_listening, connections);
    m_thread = std::thread([this] { m_server->listen_after_bind(); });
    // Before that, stop() does nothing.
    while (!m_server->is_running())
        std::this_thread::yield();
    return true;
}

QStringList DemoSite::demoVideoIds() const
{
    QStringList ids;
    for (const DemoPages::Row &video : demoVideos())
        ids.append(video.id);
    return ids;
}

QString DemoSite::mediaFileFor(const QString &videoId, int itag) const
{
    for (const Format &format : formats) {
        if (format.itag == itag && demoVideoIds().contains(videoId))
            return QString::fromLatin1(format.file);
    }
    return {};
}

QByteArray DemoSite::mediaFile(const QString &name) const
{
    QFile file(QStringLiteral(FOURFOLD_DEMOSITE_MEDIA "/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void DemoSite::setPage(const QString &pathAndQuery, const Page &page)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pages.insert(pathAndQuery, page);
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

QByteArray DemoSite::streamBytes(quint64 seed, qint64 offset, qint64 length)
{
    QByteArray result(int(length), Qt::Uninitialized);
    fillFromStream(seed, offset, result.data(), length);
    return result;
}

QByteArray DemoSite::streamSha256(quint64 seed, qint64 size)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    constexpr qint64 piece = 1 << 20;
    for (qint64 offset = 0; offset < size; offset += piece)
        hash.addData(streamBytes(seed, offset, std::min(piece, size - offset)));
    return hash.result().toHex();
}

void DemoSite::addPages()
{
    const auto add = [this](const QString &path, const QByteArray &body) {
        setPage(path, {200, body, "text/html; charset=utf-8", {}});
    };
    const auto addVideo = [this, add](const DemoPages::Row &video, int seconds, const Streams &streams) {
        const QString path = QStringLiteral("/watch?v=") + video.id;
        const QJsonObject args{
            {QStringLiteral("video_id"), video.id},
            {QStringLiteral("title"), video.title},
            {QStringLiteral("author"), QStringLiteral("시험 & Söhne")},
            {QStringLiteral("thumbnail_url"), QString(m_address + QStringLiteral("/thumbnail.jpg"))},
            {QStringLiteral("loadedUrl"), QString(m_address + path)},
            {QStringLiteral("length_seconds"), QString::number(seconds)},
            {QStringLiteral("url_encoded_fmt_stream_map"), streamMap(streams)},
        };
        add(path, watchPage(args, pagePadding));
        add(path + QStringLiteral("&list=DEMO"), DemoPages::watchPage(args, demoVideos().mid(0, 3), pagePadding));
    };
    for (const DemoPages::Row &video : demoVideos()) {
        Streams streams;
        for (const Format &format : formats)
            streams.append({format.itag, m_address + QLatin1String(format.path) + QLatin1String(format.file)});
        addVideo(video, 12, streams);
    }
    addVideo({QStringLiteral("broken"), QStringLiteral("A stream that breaks off")}, 61,
             {{22, m_address + QStringLiteral("/stream?size=3000000&seed=1&rate=0&broken")}});
    addVideo({QStringLiteral("gone"), QStringLiteral("A stream that is gone")}, 61,
             {{22, m_address + QStringLiteral("/removed")}});
    setPage(QStringLiteral("/removed"), {410, {}, "text/plain", {}});
    add(QStringLiteral("/watch"), DemoPages::page(QStringLiteral("Demo site"), QStringLiteral("No such video.\n")));

    add(QStringLiteral("/playlist"), DemoPages::playlistPage({}));
    add(QStringLiteral("/playlist?list=DEMO"), DemoPages::playlistPage(demoVideos().mid(0, 3)));
    add(QStringLiteral("/download"),
        DemoPages::page(QStringLiteral("Download"), QStringLiteral("There is no newer build: this is a demo.\n")));
    add(QStringLiteral("/update/latest"), QByteArrayLiteral("latest"));
    setUpdateReply(QStringLiteral("<product name=\"Video Downloader\" version=\"9.0.0\" url=\"%1/download\">"
                                  "Video Downloader 9.0.0<br/>\n"
                                  "- Downloads arrive before they are asked for<br/>\n"
                                  "- Four ranges &amp; one file, as ever<br/>\n"
                                  "- <b>Fixes</b> for faults that nobody has seen yet\n"
                                  "</product>")
                       .arg(m_address)
                       .toUtf8());
}

void DemoSite::addRoutes()
{
    using Answered = httplib::Server::HandlerResponse;
    m_server->set_pre_routing_handler([this](const auto &request, auto &response) {
        Request known{QByteArray::fromStdString(request.method), QByteArray::fromStdString(request.target), {}};
        for (const auto &[name, value] : request.headers)
            known.headers.insert(QByteArray::fromStdString(name).toLower(), QByteArray::fromStdString(value));
        const QString target = QString::fromUtf8(known.target);

        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.append(known);
        auto page = m_pages.constFind(target);
        if (page == m_pages.constEnd())
            page = m_pages.constFind(target.section(QLatin1Char('?'), 0, 0));
        if (page == m_pages.constEnd())
            return Answered::Unhandled;
        response.status = page->status;
        for (const auto &[name, value] : page->headers)
            response.set_header(name.toStdString(), value.toStdString());
        send(page->body, page->contentType.toStdString(), 0, request, response);
        return Answered::Handled;
    });
    for (const Format &format : formats) {
        m_server->Get(std::string("/videoplayback/") + format.file,
                      [this, format](const auto &request, auto &response) {
                          send(mediaFile(QString::fromLatin1(format.file)), format.type, m_options.bytesPerSecond,
                               request, response);
                      });
    }
    m_server->Get("/stream", [this](const auto &request, auto &response) {
        const qint64 size = number(request, "size", 0);
        const qint64 first = request.ranges.empty() ? 0 : request.ranges.front().first;
        if (request.has_param("broken") && first >= size / 2 && first < size / 4 * 3) {
            response.status = 403;
            return;
        }
        const auto fill = [seed = quint64(number(request, "seed", 0))](qint64 offset, char *to, qint64 length) {
            fillFromStream(seed, offset, to, length);
        };
        const qint64 rate = number(request, "rate", m_options.bytesPerSecond);
        send(fill, size, "application/octet-stream", rate, request, response);
    });
    const auto addRedirect = [this](const char *pattern, int status, size_t prefix) {
        m_server->Get(pattern, [this, status, prefix](const auto &request, auto &response) {
            response.set_redirect(m_address.toStdString() + request.target.substr(prefix), status);
        });
    };
    addRedirect("/loop", 302, 0);
    addRedirect("/redirect/.*", 302, std::strlen("/redirect"));
    addRedirect("/redirect301/.*", 301, std::strlen("/redirect301"));
}
