#pragma once

#include <QByteArray>
#include <QTcpServer>
#include <QVector>

class QTcpSocket;

// An update service on loopback that gives every request the same answer, in the manner it is told to. Lives on the
// thread of the test, whose event loop drives it.
class UpdateService final : public QTcpServer
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdateService)

public:
    enum class Manner {
        Whole,
        ByteByByte, // one byte a turn of the event loop
        CutOff, // announces one byte more than it sends, then closes
        Open, // announces one byte more than it sends, then waits
        Endless, // repeats the body for ever
        Silent, // never answers
    };
    Q_ENUM(Manner)

    UpdateService();

    QByteArray body;
    QByteArray status = QByteArrayLiteral("200 OK");
    Manner manner = Manner::Whole;

    QString address() const;
    const QVector<QByteArray> &requestLines() const { return m_requestLines; }
    int droppedByClient() const { return m_droppedByClient; }
    qint64 sentBytes() const { return m_sentBytes; }

private:
    void serve(QTcpSocket *socket);
    void answer(QTcpSocket *socket);
    void sendSlowly(QTcpSocket *socket, const QByteArray &bytes);
    void sendForEver(QTcpSocket *socket);

    QVector<QByteArray> m_requestLines;
    int m_droppedByClient = 0;
    qint64 m_sentBytes = 0;
};
