#pragma once

#include <QByteArray>
#include <QNetworkReply>

// A reply whose answer is all there: what was said of it, and its body, which can be read once more. Made of a reply
// that has finished, or in place of a request that could not be sent.
class FinishedReply final : public QNetworkReply
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FinishedReply)

public:
    // Takes over what the finished reply to the request was told; the body is what has been read and unpacked of it.
    FinishedReply(const QNetworkRequest &request, const QNetworkReply &reply, const QByteArray &body);
    FinishedReply(const QNetworkRequest &request, NetworkError error, const QString &errorText);

    // There is nothing left to abort.
    void abort() override { }
    [[nodiscard]] bool isSequential() const override { return true; }
    [[nodiscard]] qint64 bytesAvailable() const override;

    // In place of the error that the network gave.
    using QNetworkReply::setError;

protected:
    qint64 readData(char *data, qint64 maxSize) override;

private:
    const QByteArray m_body;
    qint64 m_read = 0; // bytes
};
