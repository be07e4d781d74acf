#pragma once

#include <QByteArray>

// Endless bytes computed from seed and offset alone: no two aligned groups of eight in a stream are equal.
namespace RandomStream {

void fill(quint64 seed, qint64 offset, char *to, qint64 length);
QByteArray bytes(quint64 seed, qint64 offset, qint64 length);
QByteArray sha256(quint64 seed, qint64 size);

} // namespace RandomStream
