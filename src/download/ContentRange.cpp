#include "download/ContentRange.h"

#include <QList>

namespace {

std::optional<qint64> byteCount(const QByteArray &text)
{
    const QByteArray digits = text.trimmed();
    if (digits.isEmpty() || digits.front() < '0' || digits.front() > '9')
        return std::nullopt;
    bool isNumber = false;
    const qint64 count = digits.toLongLong(&isNumber);
    return isNumber ? std::optional(count) : std::nullopt;
}

} // namespace

std::optional<ContentRange> ContentRange::parse(const QByteArray &header)
{
    const QByteArray trimmed = header.trimmed();
    const int blank = trimmed.indexOf(' ');
    const QList<QByteArray> parts = trimmed.mid(blank + 1).split('/');
    if (blank < 0 || trimmed.left(blank).toLower() != "bytes" || parts.size() > 2)
        return std::nullopt;

    ContentRange range;
    range.total = byteCount(parts.value(1));
    if (parts.at(0).trimmed() == "*")
        return range.total ? std::optional(range) : std::nullopt;

    const QList<QByteArray> ends = parts.at(0).split('-');
    range.first = byteCount(ends.at(0));
    range.last = byteCount(ends.value(1));
    if (!range.first || ends.size() != 2)
        return std::nullopt;
    if (range.last && *range.last < *range.first)
        range.last.reset();
    if (range.total && *range.total <= range.last.value_or(*range.first))
        range.total.reset();
    return range;
}
