#pragma once

#include <QByteArray>
#include <QHash>
#include <QTcpServer>
#include <QVector>

class QTcpSocket;

// An HTTP server on loopback for one stream that answers as badly as it is told to. Lives on the thread of the test,
// whose event loop drives it.
class FaultServer final : public QTcpServer
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FaultServer)

public:
    enum class Fault {
        None,
        Refuse, // closes the connection before a byte
        Reset, // sends half of the body, then resets the connection
        CutOff, // sends half of the body, then closes
        Stall, // sends half of the body, then nothing more
        Silence, // never answers
        ByteByByte, // one byte a turn of the event loop
        WholeStream, // 200 with everything
        WrongStart, // 206 for a range one byte off
        FewerBytes, // 206 for half of what was asked
        MoreBytes, // 206 that goes on for 1000 bytes
        NoContentRange, // 206 without a Content-Range
        SelfRedirect, // 302 to the same address
        EmptyRedirect, // 302 without a Location
        Status, // the status of setStatus() with an error page
        Gzip, // 206 with a Content-Encoding
        NoLength, // 206 that ends with the connection
        ShortLength, // a Content-Length of half of what follows
        LongLength, // a Content-Length of twice what follows, then closes
        HugeHeaders, // a megabyte of headers, then the range
        ChangedStream, // 206 of a stream of another length
        HtmlPage, // 200 with a short page in place of the stream
    };

    struct Request
    {
        QByteArray method;
        QByteArray target;
        QHash<QByteArray, QByteArray> headers; // names in lower case
        qint64 first = 0; // of the Range header
        qint64 last = -1;
    };

    explicit FaultServer(const QByteArray &stream, QObject *parent = nullptr);
    ~FaultServer() override;

    [[nodiscard]] QString address() const;
    // From now on it speaks TLS, with a certificate that nobody has signed but itself.
    void useTls() { m_hasTls = true; }
    [[nodiscard]] const QVector<Request> &requests() const { return m_requests; }

    // Misbehaves towards requests whose range starts in [first, last], for the given number of requests.
    void setFault(Fault fault, qint64 first, qint64 last, int times);
    // For Fault::Status.
    void setStatus(int status, const QByteArray &headers = {});

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void serve(QTcpSocket *socket, const Request &request);
    void answer(QTcpSocket *socket, const Request &request);
    void misbehave(Fault fault, QTcpSocket *socket, const Request &request);
    void sendByteByByte(QTcpSocket *socket, const QByteArray &bytes);
    [[nodiscard]] QByteArray range(const Request &request) const;
    [[nodiscard]] QByteArray partialHead(const Request &request, qint64 length, const QByteArray &more = {}) const;

    const QByteArray m_stream;
    bool m_hasTls = false;
    QVector<Request> m_requests;
    Fault m_fault = Fault::None;
    qint64 m_faultFirst = 0;
    qint64 m_faultLast = -1;
    int m_faultTimes = 0;
    int m_status = 500;
    QByteArray m_statusHeaders;
};
