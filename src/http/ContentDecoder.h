#pragma once

#include <QByteArray>

#include <memory>

struct z_stream_s;

// Undoes the Content-Encoding of a body (RFC 9110, section 8.4.1) piece by piece and up to a limit: Qt unpacks whatever
// it has received at once, and a body of megabytes can unpack to gigabytes. Asked for with the value of acceptEncoding,
// which is the one that Qt sends by itself, a body reaches its reader as it was sent.
class ContentDecoder final
{
    Q_DISABLE_COPY_MOVE(ContentDecoder)

public:
    static const QByteArray acceptEncoding;

    // More bytes than the limit are not unpacked.
    explicit ContentDecoder(int limit);
    ~ContentDecoder();

    // The next piece of a body in that encoding: gzip, deflate, or another one, which stays as it is.
    void add(const QByteArray &piece, const QByteArray &contentEncoding);

    // What has been unpacked so far.
    [[nodiscard]] const QByteArray &body() const { return m_body; }
    // The body holds more than the limit allows.
    [[nodiscard]] bool isTooLarge() const { return m_body.size() > m_limit; }
    // False for a packed body that is cut off, or that is not in the encoding that its header names.
    [[nodiscard]] bool isWhole() const { return m_stream ? m_isAtEnd && !m_isBroken : m_head.isEmpty(); }

private:
    void inflate(const QByteArray &piece);

    const int m_limit; // bytes
    QByteArray m_body;
    QByteArray m_head; // until it tells the format of a packed body
    std::unique_ptr<z_stream_s> m_stream; // from then on
    bool m_isAtEnd = false;
    bool m_isBroken = false;
};
