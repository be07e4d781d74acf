#include "UpdateService.h"

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

UpdateService::UpdateService()
{
    connect(this, &QTcpServer::newConnection, this, [this] { serve(nextPendingConnection()); });
    if (!listen(QHostAddress::LocalHost))
        qFatal("cannot listen");
}

QString UpdateService::address() const
{
    return QStringLiteral("http://127.0.0.1:%1/check").arg(serverPort());
}

void UpdateService::serve(QTcpSocket *socket)
{
    connect(socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
        m_droppedByClient += error == QAbstractSocket::RemoteHostClosedError ? 1 : 0;
    });
    connect(socket, &QTcpSocket::bytesWritten, this, [this](qint64 bytes) { m_sentBytes += bytes; });
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
        while (socket->canReadLine()) {
            const QByteArray line = socket->readLine().trimmed();
            if (line.startsWith("GET "))
                m_requestLines << line;
            else if (line.isEmpty())
                answer(socket);
        }
    });
}

void UpdateService::answer(QTcpSocket *socket)
{
    if (manner == Manner::Silent)
        return;
    const bool promisesMore = manner == Manner::CutOff || manner == Manner::Open;
    QByteArray head = "HTTP/1.1 " + status + "\r\nConnection: close\r\n";
    if (manner != Manner::Endless)
        head += "Content-Length: " + QByteArray::number(body.size() + (promisesMore ? 1 : 0)) + "\r\n";
    socket->write(head + "\r\n");

    if (manner == Manner::ByteByByte) {
        sendSlowly(socket, body);
    } else if (manner == Manner::Endless) {
        connect(socket, &QTcpSocket::bytesWritten, this, [this, socket] { sendForEver(socket); });
        sendForEver(socket);
    } else {
        socket->write(body);
        if (manner != Manner::Open)
            socket->disconnectFromHost();
    }
}

void UpdateService::sendSlowly(QTcpSocket *socket, const QByteArray &bytes)
{
    if (bytes.isEmpty()) {
        socket->disconnectFromHost();
        return;
    }
    socket->write(bytes.left(1));
    socket->flush();
    QTimer::singleShot(0, socket, [this, socket, bytes] { sendSlowly(socket, bytes.mid(1)); });
}

void UpdateService::sendForEver(QTcpSocket *socket)
{
    if (socket->bytesToWrite() == 0)
        socket->write(body);
}
