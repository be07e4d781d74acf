#pragma once

#include <QByteArray>

#include <optional>

// The Content-Range header of an answer (RFC 9110, section 14.4), in bytes. Its first byte decides; an end or a total
// that makes no sense beside it counts as not known.
struct ContentRange
{
    std::optional<qint64> first; // absent where no range could be served ("bytes */1000")
    std::optional<qint64> last; // inclusive
    std::optional<qint64> total; // of the stream; absent where the server does not know it ("bytes 0-99/*")

    // Nothing when the header is missing, in another unit, or tells neither a first byte nor a total.
    [[nodiscard]] static std::optional<ContentRange> parse(const QByteArray &header);
};
