#pragma once

#include <functional>
#include <memory>

#include <QByteArray>
#include <QList>
#include <QMultiMap>
#include <QPair>
#include <QString>

// A request as it arrived: the target is path and query as sent, header names keep their spelling.
struct HttpRequest
{
    QByteArray method;
    QByteArray target;
    QMultiMap<QByteArray, QByteArray> headers;
    int remotePort = 0;

    // The first header of that name in any spelling, null when there is none.
    QByteArray header(const QByteArray &name) const;
};

// Either a fixed body or, when `fill` is set, a stream of `size` bytes whose ranges can be asked for.
struct HttpAnswer
{
    using Fill = std::function<void(qint64 offset, char *to, qint64 length)>;

    int status = 200;
    QByteArray contentType = QByteArrayLiteral("text/html; charset=utf-8");
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    Fill fill;
    qint64 size = 0;
    qint64 bytesPerSecond = 0; // 0 means unlimited
};

// HTTP/1.1 on 127.0.0.1 with kept-alive connections; the handler is called on the connections' threads.
class HttpServer final
{
    Q_DISABLE_COPY_MOVE(HttpServer)

public:
    using Handler = std::function<HttpAnswer(const HttpRequest &)>;

    explicit HttpServer(Handler handler);
    // Breaks every open connection off, running transfers included, and joins all threads.
    ~HttpServer();

    // Port 0 picks a free one; on false, errorString() tells why.
    bool start(int port);
    int port() const;
    QString errorString() const;

private:
    class Listener;

    const std::unique_ptr<Listener> m_listener;
    int m_port = 0;
    QString m_errorString;
};
