#include "support/FaultServer.h"

#include <QSslKey>
#include <QSslSocket>
#include <QTimer>

#include <memory>

namespace {

FaultServer::Request parse(const QByteArray &head)
{
    FaultServer::Request request;
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    for (const QByteArray &line : lines.mid(1)) {
        const int colon = line.indexOf(':');
        if (colon > 0)
            request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    }
    const QList<QByteArray> ends = request.headers.value("range").mid(int(sizeof("bytes=")) - 1).split('-');
    request.first = ends.value(0).toLongLong();
    request.last = ends.value(1).isEmpty() ? -1 : ends.value(1).toLongLong();
    return request;
}

} // namespace

FaultServer::FaultServer(const QByteArray &stream, QObject *parent)
    : QTcpServer(parent)
    , m_stream(stream)
{
    listen(QHostAddress::LocalHost);
    connect(this, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket *socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
                // A client sends its next request only when it has the answer, so a whole head is one request.
                const QByteArray seen = socket->peek(64 * 1024);
                const int end = seen.indexOf("\r\n\r\n");
                if (end >= 0)
                    serve(socket, parse(socket->read(end + 4)));
            });
        }
    });
}

FaultServer::~FaultServer() = default;

QString FaultServer::address() const
{
    const QString scheme = m_hasTls ? QStringLiteral("https") : QStringLiteral("http");
    return QStringLiteral("%1://127.0.0.1:%2/stream").arg(scheme, QString::number(serverPort()));
}

void FaultServer::incomingConnection(qintptr descriptor)
{
    if (!m_hasTls) {
        QTcpServer::incomingConnection(descriptor);
        return;
    }
    const QString certificate = QStringLiteral(FOURFOLD_TEST_CERTIFICATE);
    auto *socket = new QSslSocket(this);
    socket->setSocketDescriptor(descriptor);
    socket->setLocalCertificate(certificate);
    socket->setPrivateKey(certificate, QSsl::Ec);
    addPendingConnection(socket);
    socket->startServerEncryption();
}

void FaultServer::setFault(Fault fault, qint64 first, qint64 last, int times)
{
    m_fault = fault;
    m_faultFirst = first;
    m_faultLast = last;
    m_faultTimes = times;
}

void FaultServer::setStatus(int status, const QByteArray &headers)
{
    m_status = status;
    m_statusHeaders = headers;
}

void FaultServer::serve(QTcpSocket *socket, const Request &request)
{
    m_requests.append(request);
    if (request.method == "HEAD")
        socket->write("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(m_stream.size()) + "\r\n\r\n");
    else if (m_faultTimes > 0 && request.first >= m_faultFirst && request.first <= m_faultLast) {
        --m_faultTimes;
        misbehave(m_fault, socket, request);
    } else {
        answer(socket, request);
    }
}

QByteArray FaultServer::range(const Request &request) const
{
    const qint64 last = request.last < 0 ? m_stream.size() - 1 : qMin<qint64>(request.last, m_stream.size() - 1);
    return m_stream.mid(int(request.first), int(last - request.first + 1));
}

QByteArray FaultServer::partialHead(const Request &request, qint64 length, const QByteArray &more) const
{
    return "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + QByteArray::number(request.first) + '-'
        + QByteArray::number(request.first + length - 1) + '/' + QByteArray::number(m_stream.size())
        + "\r\nContent-Length: " + QByteArray::number(length) + "\r\n" + more + "\r\n";
}

void FaultServer::answer(QTcpSocket *socket, const Request &request)
{
    const QByteArray body = range(request);
    if (body.isEmpty()) {
        socket->write("HTTP/1.1 416 Range Not Satisfiable\r\nContent-Range: bytes */"
                      + QByteArray::number(m_stream.size()) + "\r\nContent-Length: 0\r\n\r\n");
        return;
    }
    socket->write(partialHead(request, body.size()));
    socket->write(body);
}

void FaultServer::misbehave(Fault fault, QTcpSocket *socket, const Request &request)
{
    const QByteArray body = range(request);
    const QByteArray half = body.left(body.size() / 2);
    const QByteArray whole = "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(m_stream.size()) + "\r\n\r\n";
    switch (fault) {
    case Fault::None:
        answer(socket, request);
        break;
    case Fault::Refuse:
        socket->abort();
        break;
    case Fault::Reset:
        socket->write(partialHead(request, body.size()) + half);
        socket->flush();
        QTimer::singleShot(50, socket, &QTcpSocket::abort);
        break;
    case Fault::CutOff:
        socket->write(partialHead(request, body.size()) + half);
        socket->disconnectFromHost();
        break;
    case Fault::Stall:
        socket->write(partialHead(request, body.size()) + half);
        break;
    case Fault::Silence:
        break;
    case Fault::ByteByByte:
        sendByteByByte(socket, partialHead(request, body.size()) + body);
        break;
    case Fault::WholeStream:
        socket->write(whole + m_stream);
        break;
    case Fault::WrongStart: {
        Request moved = request;
        moved.first += 1;
        socket->write(partialHead(moved, body.size() - 1) + range(moved));
        break;
    }
    case Fault::FewerBytes:
        socket->write(partialHead(request, half.size()) + half);
        break;
    case Fault::MoreBytes: {
        Request longer = request;
        longer.last += 1000;
        const QByteArray more = range(longer);
        socket->write(partialHead(longer, more.size()) + more);
        break;
    }
    case Fault::NoContentRange:
        socket->write("HTTP/1.1 206 Partial Content\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n"
                      + body);
        break;
    case Fault::SelfRedirect:
        socket->write("HTTP/1.1 302 Found\r\nLocation: " + address().toLatin1() + "\r\nContent-Length: 0\r\n\r\n");
        break;
    case Fault::EmptyRedirect:
        socket->write("HTTP/1.1 302 Found\r\nContent-Length: 0\r\n\r\n");
        break;
    case Fault::Status: {
        const QByteArray page = "<html><body>Sorry, not now.</body></html>";
        socket->write("HTTP/1.1 " + QByteArray::number(m_status) + " Sorry\r\n" + m_statusHeaders
                      + "Content-Length: " + QByteArray::number(page.size()) + "\r\n\r\n" + page);
        break;
    }
    case Fault::Gzip:
        socket->write(partialHead(request, body.size(), "Content-Encoding: gzip\r\n") + body);
        break;
    case Fault::NoLength: {
        QByteArray head = partialHead(request, body.size(), "Connection: close\r\n");
        head.replace("Content-Length: " + QByteArray::number(body.size()) + "\r\n", "");
        socket->write(head + body);
        socket->disconnectFromHost();
        break;
    }
    case Fault::ShortLength: {
        QByteArray head = partialHead(request, body.size(), "Connection: close\r\n");
        head.replace("Content-Length: " + QByteArray::number(body.size()),
                     "Content-Length: " + QByteArray::number(half.size()));
        socket->write(head + body);
        socket->disconnectFromHost();
        break;
    }
    case Fault::LongLength: {
        QByteArray head = partialHead(request, body.size());
        head.replace("Content-Length: " + QByteArray::number(body.size()),
                     "Content-Length: " + QByteArray::number(2 * body.size()));
        socket->write(head + body);
        socket->disconnectFromHost();
        break;
    }
    case Fault::HugeHeaders: {
        QByteArray headers;
        for (int i = 0; i < 1024; ++i)
            headers += "X-Padding-" + QByteArray::number(i) + ": " + QByteArray(1000, 'x') + "\r\n";
        socket->write(partialHead(request, body.size(), headers) + body);
        break;
    }
    case Fault::ChangedStream: {
        QByteArray head = partialHead(request, body.size());
        head.replace('/' + QByteArray::number(m_stream.size()) + "\r\n", QByteArray("/99999999\r\n"));
        socket->write(head + body);
        break;
    }
    case Fault::HtmlPage:
        socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 20\r\n\r\n<html>please</html>\n");
        break;
    }
}

void FaultServer::sendByteByByte(QTcpSocket *socket, const QByteArray &bytes)
{
    auto position = std::make_shared<int>(0);
    auto *timer = new QTimer(socket);
    connect(timer, &QTimer::timeout, socket, [socket, timer, bytes, position] {
        if (*position == bytes.size()) {
            timer->deleteLater();
            return;
        }
        socket->write(bytes.constData() + *position, 1);
        socket->flush();
        ++*position;
    });
    timer->start(0);
}
