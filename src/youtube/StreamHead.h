#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <optional>

// What a server says of a stream when it is asked with HEAD.
struct StreamHead
{
    QString error; // empty when an answer came
    int status = 0; // of the last answer (HTTP); without an error only
    std::optional<qint64> length; // Content-Length in bytes; absent when missing or not a count

    static constexpr int maximumRedirects = 20;

    // Asks for the address and, as long as the status is one of redirectStatuses, for the Location that came with it.
    // The address becomes the last one asked. Blocks in nested event loops; GUI thread only.
    [[nodiscard]] static StreamHead ask(QString &address, const QVector<int> &redirectStatuses);
};
