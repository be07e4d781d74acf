#include "HttpServer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <httplib.h>

namespace {

constexpr auto address = "127.0.0.1";
constexpr int connectionThreads = 128;
constexpr int waitingConnections = 128;
constexpr time_t idleSeconds = 30;
constexpr size_t requestsPerConnection = 1000000;
constexpr time_t stalledClientSeconds = 600;
constexpr qint64 pieceBytes = 64 * 1024;
constexpr auto paceStep = std::chrono::milliseconds(25);

struct ByteRange
{
    qint64 first = 0;
    qint64 length = 0;
};

enum class RangeKind { Whole, Part, Unsatisfiable };

// Several ranges at once ask for the whole, as HTTP allows; a range that makes no sense is refused.
RangeKind parseRange(const QByteArray &header, qint64 size, ByteRange *range)
{
    *range = {0, size};
    if (header.isEmpty() || header.contains(','))
        return RangeKind::Whole;
    const QByteArray prefix = QByteArrayLiteral("bytes=");
    const QList<QByteArray> ends = header.mid(prefix.size()).trimmed().split('-');
    if (!header.startsWith(prefix) || ends.size() != 2)
        return RangeKind::Unsatisfiable;

    bool firstIsNumber = false;
    bool lastIsNumber = false;
    qint64 first = ends[0].toLongLong(&firstIsNumber);
    qint64 last = ends[1].toLongLong(&lastIsNumber);
    if (firstIsNumber && ends[1].isEmpty()) {
        last = size - 1;
    } else if (ends[0].isEmpty() && lastIsNumber) {
        first = last > 0 ? std::max<qint64>(0, size - last) : size;
        last = size - 1;
    } else if (!firstIsNumber || !lastIsNumber || last < first) {
        return RangeKind::Unsatisfiable;
    }
    if (first >= size)
        return RangeKind::Unsatisfiable;

    range->first = first;
    range->length = std::min(last, size - 1) - first + 1;
    return RangeKind::Part;
}

// One accepted socket; the library's own class is not exported, and it polls while it waits.
class Connection final : public httplib::Stream
{
    Q_DISABLE_COPY_MOVE(Connection)

public:
    explicit Connection(socket_t socketHandle)
        : m_socket(socketHandle)
    {
    }

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }

    ssize_t read(char *to, size_t size) override
    {
        if (m_next == m_end) {
            const ssize_t received = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
            if (received <= 0)
                return received;
            m_next = 0;
            m_end = size_t(received);
        }
        const size_t count = std::min(size, m_end - m_next);
        std::memcpy(to, m_buffer.data() + m_next, count);
        m_next += count;
        return ssize_t(count);
    }

    // A vanished peer raises no signal: the library's server ignores SIGPIPE for the process.
    ssize_t write(const char *from, size_t size) override { return ::send(m_socket, from, size, 0); }

    void get_remote_ip_and_port(std::string &ip, int &port) const override { describe(::getpeername, ip, port); }
    void get_local_ip_and_port(std::string &ip, int &port) const override { describe(::getsockname, ip, port); }
    socket_t socket() const override { return m_socket; }

private:
    template <typename Ask> void describe(Ask ask, std::string &ip, int &port) const
    {
        sockaddr_in end = {};
        socklen_t length = sizeof end;
        if (ask(m_socket, reinterpret_cast<sockaddr *>(&end), &length) == 0) {
            ip = address;
            port = ntohs(end.sin_port);
        }
    }

    const socket_t m_socket;
    std::array<char, 4096> m_buffer;
    size_t m_next = 0;
    size_t m_end = 0;
};

HttpRequest requestFrom(const httplib::Request &from)
{
    HttpRequest request;
    request.method = QByteArray::fromStdString(from.method);
    request.target = QByteArray::fromStdString(from.target);
    request.remotePort = from.remote_port;
    for (const auto &[name, value] : from.headers) {
        // The library slips four lines of its own among the client's.
        if (name != "REMOTE_ADDR" && name != "REMOTE_PORT" && name != "LOCAL_ADDR" && name != "LOCAL_PORT")
            request.headers.insert(QByteArray::fromStdString(name), QByteArray::fromStdString(value));
    }
    return request;
}

} // namespace

QByteArray HttpRequest::header(const QByteArray &name) const
{
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        if (it.key().compare(name, Qt::CaseInsensitive) == 0)
            return it.value();
    }
    return {};
}

// The library's server with connections that can be broken off at any moment and ranges of our own.
class HttpServer::Listener final : public httplib::Server
{
    Q_DISABLE_COPY_MOVE(Listener)

public:
    explicit Listener(HttpServer::Handler handler)
        : m_handler(std::move(handler))
    {
        new_task_queue = [] { return new httplib::ThreadPool(connectionThreads); };
        set_tcp_nodelay(true);
        set_read_timeout(idleSeconds);
        set_keep_alive_timeout(idleSeconds);
        set_keep_alive_max_count(requestsPerConnection);
        set_write_timeout(stalledClientSeconds);
        // The library's default lets a second server share a port that is taken.
        set_socket_options([](socket_t listening) {
            const int yes = 1;
            ::setsockopt(listening, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
            if (request.method != "GET" && request.method != "HEAD")
                return HandlerResponse::Unhandled;
            respond(requestFrom(request), response);
            return HandlerResponse::Handled;
        });
        // An unreadable range is refused by the library before anyone has seen the request.
        set_error_handler(HandlerWithResponse([this](const httplib::Request &request, httplib::Response &response) {
            if (response.status != 416 || !response.headers.empty())
                return HandlerResponse::Unhandled;
            respond(requestFrom(request), response);
            return HandlerResponse::Handled;
        }));
    }

    ~Listener() override { halt(); }

    // Returns the port, or 0 with errno set.
    int claim(int port)
    {
        errno = 0;
        if (port == 0)
            return std::max(bind_to_any_port(address), 0);
        return bind_to_port(address, port) ? port : 0;
    }

    void run()
    {
        // Five waiting connections, the library's figure, are too few for many downloads at once.
        ::listen(svr_sock_, waitingConnections);
        m_thread = std::thread([this] { listen_after_bind(); });
        // Before that, stop() does nothing.
        while (!is_running())
            std::this_thread::yield();
    }

    void halt()
    {
        if (!m_thread.joinable())
            return;
        stop();
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
            for (const socket_t open : m_open)
                ::shutdown(open, SHUT_RDWR);
        }
        m_stopped.notify_all();
        m_thread.join();
    }

private:
    bool process_and_close_socket(socket_t accepted) override
    {
        bool good = keepTrackOf(accepted);
        if (good) {
            Connection connection(accepted);
            const auto hideRanges = [](httplib::Request &request) { request.ranges.clear(); };
            bool closed = false;
            do {
                good = process_request(connection, false, closed, hideRanges);
            } while (good && !closed);
        }

        const std::lock_guard<std::mutex> lock(m_mutex);
        m_open.erase(accepted);
        ::shutdown(accepted, SHUT_RDWR);
        ::close(accepted);
        return good;
    }

    bool keepTrackOf(socket_t accepted)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_stopping)
            m_open.insert(accepted);
        return !m_stopping;
    }

    void respond(const HttpRequest &request, httplib::Response &response)
    {
        const HttpAnswer answer = m_handler(request);
        response.status = answer.status;
        const bool isHead = request.method == "HEAD";
        for (const auto &[name, value] : answer.headers) {
            if (isHead || answer.body.isEmpty() || name.compare("Content-Length", Qt::CaseInsensitive) != 0)
                response.set_header(name.toStdString(), value.toStdString());
        }
        if (answer.fill) {
            respondWithStream(request.header(QByteArrayLiteral("Range")), answer, response);
            return;
        }
        if (response.has_header("Content-Length")) {
            response.set_header("Content-Type", answer.contentType.toStdString());
        } else {
            // As a provided body it is not compressed, so what is sent is what was set.
            const auto copy = [body = answer.body](qint64 offset, char *to, qint64 length) {
                std::memcpy(to, body.constData() + offset, size_t(length));
            };
            provide(copy, {0, answer.body.size()}, 0, answer.contentType, response);
        }
    }

    void respondWithStream(const QByteArray &rangeHeader, const HttpAnswer &answer, httplib::Response &response)
    {
        response.set_header("Accept-Ranges", "bytes");
        ByteRange range;
        const RangeKind kind = parseRange(rangeHeader, answer.size, &range);
        if (kind == RangeKind::Unsatisfiable) {
            response.status = 416;
            response.set_header("Content-Range", "bytes */" + std::to_string(answer.size));
            return;
        }
        if (kind == RangeKind::Part) {
            response.status = 206;
            response.set_header("Content-Range",
                                "bytes " + std::to_string(range.first) + "-"
                                    + std::to_string(range.first + range.length - 1) + "/"
                                    + std::to_string(answer.size));
        }
        provide(answer.fill, range, answer.bytesPerSecond, answer.contentType, response);
    }

    void provide(const HttpAnswer::Fill &fill, ByteRange range, qint64 rate, const QByteArray &contentType,
                 httplib::Response &response)
    {
        // The library takes no empty content.
        if (range.length == 0) {
            response.set_header("Content-Type", contentType.toStdString());
            return;
        }
        using Clock = std::chrono::steady_clock;
        using Seconds = std::chrono::duration<double>;
        const auto buffer = std::make_shared<std::vector<char>>(size_t(std::min(pieceBytes, range.length)));
        response.set_content_provider(
            size_t(range.length), contentType.toStdString(),
            [=, due = Clock::now()](size_t offset, size_t left, httplib::DataSink &sink) mutable {
                qint64 length = std::min(qint64(left), qint64(buffer->size()));
                if (rate > 0) {
                    const qint64 bytesPerStep = rate / (std::chrono::seconds(1) / paceStep);
                    length = std::clamp<qint64>(bytesPerStep, 1, length);
                    const auto pause =
                        std::chrono::duration_cast<Clock::duration>(Seconds(double(length) / double(rate)));
                    // A slow reader gets no burst afterwards to make up for lost time.
                    due = std::max(due, Clock::now() - paceStep) + pause;
                    if (!waitUntil(due))
                        return false;
                }
                fill(range.first + qint64(offset), buffer->data(), length);
                return sink.write(buffer->data(), size_t(length));
            });
    }

    // Returns false when the server is to stop.
    bool waitUntil(std::chrono::steady_clock::time_point due)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return !m_stopped.wait_until(lock, due, [this] { return m_stopping; });
    }

    const HttpServer::Handler m_handler;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    std::set<socket_t> m_open;
    bool m_stopping = false;
};

HttpServer::HttpServer(Handler handler)
    : m_listener(std::make_unique<Listener>(std::move(handler)))
{
}

HttpServer::~HttpServer() = default;

bool HttpServer::start(int port)
{
    m_port = m_listener->claim(port);
    if (m_port != 0) {
        m_listener->run();
        return true;
    }
    m_errorString = errno == EADDRINUSE
        ? QStringLiteral("Port %1 is already taken.").arg(port)
        : QStringLiteral("Port %1 cannot be opened: %2").arg(port).arg(QString::fromLocal8Bit(std::strerror(errno)));
    return false;
}

int HttpServer::port() const
{
    return m_port;
}

QString HttpServer::errorString() const
{
    return m_errorString;
}
