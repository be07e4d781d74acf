#include "http/ContentDecoder.h"

#include <algorithm>
#include <array>

#include <zlib.h>

namespace {

constexpr int chunkSize = 32 * 1024; // bytes
constexpr int gzipOrZlib = MAX_WBITS + 32;
constexpr int rawDeflate = -MAX_WBITS;
constexpr int gzipHead = 0x1f8b;
constexpr int headSize = 2; // bytes

// Some servers mean the bare algorithm when they say "deflate"; zlib's own format starts with a checked pair of bytes.
bool startsBare(const QByteArray &body, const QByteArray &encoding)
{
    if (encoding != "deflate")
        return false;
    const int head = static_cast<uchar>(body.at(0)) << 8 | static_cast<uchar>(body.at(1));
    return head != gzipHead && ((head >> 8 & 0x0f) != Z_DEFLATED || head % 31 != 0);
}

} // namespace

const QByteArray ContentDecoder::acceptEncoding = QByteArrayLiteral("gzip, deflate");

ContentDecoder::ContentDecoder(int limit)
    : m_limit(limit)
{
}

ContentDecoder::~ContentDecoder()
{
    if (m_stream)
        inflateEnd(m_stream.get());
}

void ContentDecoder::add(const QByteArray &piece, const QByteArray &contentEncoding)
{
    const QByteArray encoding = contentEncoding.trimmed().toLower();
    if (encoding != "gzip" && encoding != "x-gzip" && encoding != "deflate") {
        m_body += piece.left(std::max(0, m_limit + 1 - m_body.size()));
        return;
    }
    if (m_stream) {
        if (!m_isBroken)
            inflate(piece);
        return;
    }
    // It takes both bytes of a head to tell the formats apart.
    m_head += piece;
    if (m_head.size() < headSize)
        return;
    m_stream = std::make_unique<z_stream_s>();
    m_isBroken = inflateInit2(m_stream.get(), startsBare(m_head, encoding) ? rawDeflate : gzipOrZlib) != Z_OK;
    if (!m_isBroken)
        inflate(m_head);
    m_head.clear();
}

void ContentDecoder::inflate(const QByteArray &piece)
{
    std::array<Bytef, chunkSize> chunk;
    m_stream->next_in = reinterpret_cast<Bytef *>(const_cast<char *>(piece.constData()));
    m_stream->avail_in = static_cast<uInt>(piece.size());
    int result = Z_OK;
    do {
        // What follows the end is another member of the same body (RFC 1952, section 2.2), or to be left alone.
        if (m_isAtEnd && (m_stream->avail_in == 0 || *m_stream->next_in != gzipHead >> 8))
            return;
        if (m_isAtEnd)
            inflateReset(m_stream.get());
        m_stream->next_out = chunk.data();
        m_stream->avail_out = chunkSize;
        result = ::inflate(m_stream.get(), Z_NO_FLUSH);
        m_body.append(reinterpret_cast<const char *>(chunk.data()), chunkSize - static_cast<int>(m_stream->avail_out));
        m_isAtEnd = result == Z_STREAM_END;
    } while ((m_isAtEnd || (result == Z_OK && m_stream->avail_out == 0)) && !isTooLarge());
    // Without input there is nothing wrong.
    m_isBroken = result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR;
}
