#include "download/AnswerHead.h"

#include "youtube/ContentLength.h"

#include <QNetworkReply>

RangeAnswer::Head answerHead(const QNetworkReply &reply)
{
    RangeAnswer::Head head;
    head.status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    head.phrase = reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    head.contentLength = contentLength(reply);
    head.contentRange = reply.rawHeader("Content-Range");
    head.contentType = reply.rawHeader("Content-Type");
    head.contentEncoding = reply.rawHeader("Content-Encoding");
    return head;
}
