#include "youtube/ContentLength.h"

#include <QNetworkReply>

std::optional<qint64> contentLength(const QNetworkReply &reply)
{
    bool isNumber = false;
    const qint64 length = reply.rawHeader("Content-Length").trimmed().toLongLong(&isNumber);
    if (!isNumber || length < 0)
        return std::nullopt;
    return length;
}
