#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The verdict on a server's answer to the request for one byte range of a stream (RFC 9110, section 14). A plain value
// made of plain values; all counts are bytes. It is strict where bytes could land in a wrong place, lenient elsewhere.
struct RangeAnswer
{
    struct Head
    {
        int status = 0; // HTTP status
        QString phrase; // what stands beside the status
        std::optional<qint64> contentLength;
        QByteArray contentRange;
        QByteArray contentType;
        QByteArray contentEncoding;
    };

    struct Asked
    {
        qint64 first = 0;
        std::optional<qint64> last; // inclusive; absent for a range that goes on to the end of the stream
    };

    // What is known of the stream's length before this answer.
    struct Known
    {
        std::optional<qint64> probed; // when the stream was asked for its size
        std::optional<qint64> told; // by an earlier answer of the same download
    };

    QString refusal; // why nothing of the answer may be written, in words for a person; empty when it is accepted
    qint64 skip = 0; // at the answer's start, what comes before the range
    std::optional<qint64> total; // of the whole stream, where the answer tells it
    bool mayGoOn = false; // a part that names its end but not the stream's; more may follow

    [[nodiscard]] static RangeAnswer judge(const Head &head, const Asked &asked, const Known &known);
};
