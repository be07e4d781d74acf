#include "youtube/FinishedReply.h"

#include <algorithm>

FinishedReply::FinishedReply(const QNetworkRequest &request, const QNetworkReply &reply, const QByteArray &body)
    : m_body(body)
{
    setRequest(request);
    setOperation(reply.operation());
    setUrl(reply.url());
    const auto &headers = reply.rawHeaderPairs();
    const bool isPacked = reply.hasRawHeader("Content-Encoding");
    for (const auto &[name, value] : headers) {
        const QByteArray lower = name.toLower();
        // They speak of the body as it was sent.
        if (!isPacked || (lower != "content-encoding" && lower != "content-length"))
            setRawHeader(name, value);
    }
    for (const auto attribute :
         {QNetworkRequest::HttpStatusCodeAttribute, QNetworkRequest::HttpReasonPhraseAttribute,
          QNetworkRequest::RedirectionTargetAttribute, QNetworkRequest::ConnectionEncryptedAttribute,
          QNetworkRequest::SourceIsFromCacheAttribute, QNetworkRequest::HttpPipeliningWasUsedAttribute})
        setAttribute(attribute, reply.attribute(attribute));
    // Opening forgets an error text.
    open(ReadOnly | Unbuffered);
    if (reply.error() != NoError)
        setError(reply.error(), reply.errorString());
    setFinished(true);
}

FinishedReply::FinishedReply(const QNetworkRequest &request, NetworkError error, const QString &errorText)
{
    setRequest(request);
    setUrl(request.url());
    open(ReadOnly | Unbuffered);
    setError(error, errorText);
    setFinished(true);
}

qint64 FinishedReply::bytesAvailable() const
{
    return m_body.size() - m_read + QNetworkReply::bytesAvailable();
}

qint64 FinishedReply::readData(char *data, qint64 maxSize)
{
    const qint64 count = std::min(maxSize, m_body.size() - m_read);
    if (count == 0 && maxSize > 0)
        return -1;
    std::copy_n(m_body.constData() + m_read, count, data);
    m_read += count;
    return count;
}
