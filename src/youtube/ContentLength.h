#pragma once

#include <QtGlobal>

#include <optional>

class QNetworkReply;

// The Content-Length header of an answer in bytes; nothing where it is missing, no number, negative or beyond 64 bits.
[[nodiscard]] std::optional<qint64> contentLength(const QNetworkReply &reply);
