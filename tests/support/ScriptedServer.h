#pragma once

#include <QHash>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QVector>

#include <functional>
#include <limits>
#include <optional>

struct Request
{
    QByteArray method;
    QByteArray target; // path and query as sent
    QHash<QByteArray, QByteArray> headers; // names in lower case
    qint64 first = 0; // of the Range header
    qint64 last = std::numeric_limits<int>::max(); // inclusive
};

// What the server answers, and how badly. Counts are bytes.
struct Reply
{
    enum Ending { Keep, Close, Reset };

    int status = 200; // 0 sends the body without a head; with no body, nothing
    QByteArray body = {};
    QByteArray headers = {}; // more of them, each with its "\r\n"
    Ending ending = Keep; // of the connection, after what is sent
    int sent = std::numeric_limits<int>::max(); // of the body
    std::optional<QByteArray> contentLength = {}; // in place of the body's size; empty for no such header
    int bytesPerTurn = 0; // of the event loop; 0 for all at once

    // As a good server answers the request for a stream or a part of it.
    [[nodiscard]] static Reply range(const QByteArray &stream, const Request &request);
    // Two and a half megabytes that unpack to 400.
    [[nodiscard]] static Reply bomb(int status, const QByteArray &headers = {});
};

// An HTTP server on loopback that answers what the test's script says. Lives on the thread of the test, whose event
// loop drives it, so a script may also do whatever should happen during a request.
class ScriptedServer final : public QTcpServer
{
public:
    using Script = std::function<Reply(const Request &request)>;

    explicit ScriptedServer(Script script);

    // From now on requests wait: for answerNext(), the oldest first, or for release(), which ends the holding too. The
    // script is asked then.
    void hold() { m_isHolding = true; }
    void answerNext();
    void release();

    [[nodiscard]] QString address(const QString &target = {}) const;
    [[nodiscard]] const QVector<Request> &requests() const { return m_requests; }
    [[nodiscard]] int connections() const { return findChildren<QTcpSocket *>().size(); }

private:
    const Script m_script;
    bool m_isHolding = false;
    QVector<Request> m_requests;
    QVector<std::pair<QPointer<QTcpSocket>, Request>> m_waiting;
};
