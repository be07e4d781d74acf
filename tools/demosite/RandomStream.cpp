#include "RandomStream.h"

#include <algorithm>
#include <cstring>

#include <QCryptographicHash>
#include <QtEndian>

namespace {

constexpr quint64 golden = 0x9e3779b97f4a7c15;

// The finishing step of splitmix64, a bijection of 64-bit numbers.
constexpr quint64 mix(quint64 z)
{
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
}

} // namespace

void RandomStream::fill(quint64 seed, qint64 offset, char *to, qint64 length)
{
    // Mixing the seed first keeps the streams of neighbouring seeds from being shifts of each other.
    quint64 state = mix(seed) + (quint64(offset) / 8 + 1) * golden;
    const auto put = [&state, &to, &length](qint64 skip, qint64 count) {
        const quint64 word = qToLittleEndian(mix(state));
        std::memcpy(to, reinterpret_cast<const char *>(&word) + skip, size_t(count));
        to += count;
        length -= count;
        state += golden;
    };
    if (const qint64 skip = offset % 8; skip != 0)
        put(skip, std::min(8 - skip, length));
    while (length >= 8)
        put(0, 8);
    if (length > 0)
        put(0, length);
}

QByteArray RandomStream::bytes(quint64 seed, qint64 offset, qint64 length)
{
    QByteArray result(int(length), Qt::Uninitialized);
    fill(seed, offset, result.data(), length);
    return result;
}

QByteArray RandomStream::sha256(quint64 seed, qint64 size)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    QByteArray piece(1 << 20, Qt::Uninitialized);
    for (qint64 offset = 0; offset < size; offset += piece.size()) {
        const qint64 length = std::min<qint64>(piece.size(), size - offset);
        fill(seed, offset, piece.data(), length);
        hash.addData(piece.constData(), int(length));
    }
    return hash.result().toHex();
}
