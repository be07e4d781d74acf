#include "support/ScriptedServer.h"

#include <QTimer>

#include <algorithm>

#include <sys/socket.h>

namespace {

Request parse(const QByteArray &head)
{
    Request request;
    const QList<QByteArray> lines = head.split('\n');
    request.method = lines.first().split(' ').value(0);
    request.target = lines.first().split(' ').value(1);
    for (const QByteArray &line : lines)
        request.headers.insert(line.split(':').first().toLower(), line.mid(line.indexOf(':') + 1).trimmed());
    const QList<QByteArray> ends = request.headers.value("range").mid(int(qstrlen("bytes="))).split('-');
    request.first = ends.first().toLongLong();
    if (!ends.last().isEmpty())
        request.last = ends.last().toLongLong();
    return request;
}

QByteArray bytesOf(const Reply &reply, const Request &request)
{
    QByteArray body = request.method == "HEAD" ? QByteArray() : reply.body.left(reply.sent);
    if (reply.status == 0)
        return body;
    QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + " Scripted\r\n" + reply.headers;
    const QByteArray length = reply.contentLength.value_or(QByteArray::number(reply.body.size()));
    if (!length.isEmpty())
        head += "Content-Length: " + length + "\r\n";
    if (reply.ending == Reply::Close)
        head += "Connection: close\r\n";
    return head + "\r\n" + body;
}

void send(QTcpSocket *socket, const QByteArray &bytes, int sent, const Reply &reply)
{
    const int end = reply.bytesPerTurn > 0 ? std::min(sent + reply.bytesPerTurn, bytes.size()) : bytes.size();
    socket->write(bytes.constData() + sent, end - sent);
    socket->flush();
    if (end < bytes.size()) {
        QTimer::singleShot(0, socket, [=] { send(socket, bytes, end, reply); });
    } else if (reply.ending == Reply::Close) {
        socket->disconnectFromHost();
    } else if (reply.ending == Reply::Reset) {
        const linger atOnce{1, 0};
        ::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        socket->abort();
    }
}

} // namespace

Reply Reply::range(const QByteArray &stream, const Request &request)
{
    const auto contentRange = [&stream](const QByteArray &range) -> QByteArray {
        return "Content-Range: bytes " + range + '/' + QByteArray::number(stream.size()) + "\r\n";
    };
    if (!request.headers.contains("range"))
        return {200, stream};
    if (request.first >= stream.size())
        return {416, {}, contentRange("*")};
    const QByteArray part = stream.mid(int(request.first), int(request.last - request.first + 1));
    const QByteArray last = QByteArray::number(request.first + part.size() - 1);
    return {206, part, contentRange(QByteArray::number(request.first) + '-' + last)};
}

Reply Reply::bomb(int status, const QByteArray &headers)
{
    const QByteArray manyZeros = QByteArray::fromHex("a360148c8251300a46c1281805").repeated(200000);
    return {status, QByteArray::fromHex("789c621805") + manyZeros, headers + "Content-Encoding: deflate\r\n"};
}

ScriptedServer::ScriptedServer(Script script)
    : m_script(std::move(script))
{
    listen(QHostAddress::LocalHost);
    connect(this, &QTcpServer::newConnection, this, [this] {
        QTcpSocket *socket = nextPendingConnection();
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            // A client sends its next request only when it has the answer, so a whole head is one request.
            const int length = socket->peek(64 * 1024).indexOf("\r\n\r\n") + 4;
            if (length < 4)
                return;
            m_requests.append(parse(socket->read(length)));
            m_waiting.append({socket, m_requests.last()});
            if (!m_isHolding)
                answerNext();
        });
    });
}

void ScriptedServer::answerNext()
{
    const auto [socket, request] = m_waiting.takeFirst();
    const Reply reply = m_script(request);
    if (socket)
        send(socket, bytesOf(reply, request), 0, reply);
}

void ScriptedServer::release()
{
    m_isHolding = false;
    while (!m_waiting.isEmpty())
        answerNext();
}

QString ScriptedServer::address(const QString &target) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(QString::number(serverPort()), target);
}
