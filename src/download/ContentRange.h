#pragma once

#include <QByteArray>

#include <optional>

// The Content-Range header of an answer (RFC 9110, section 14.4), in bytes.
struct ContentRange
{
    std::optional<qint64> first; // absent where no range could be served ("bytes */1000")
    std::optional<qint64> last; // inclusive
    std::optional<qint64> total; // absent where the server does not know it ("bytes 0-99/*")

    // Nothing when the header is missing, malformed or in another unit.
    [[nodiscard]] static std::optional<ContentRange> parse(const QByteArray &header);
};
