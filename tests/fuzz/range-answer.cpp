// An answer to the request for one range of a stream to the verdict on it. The input is a line each: status, what was
// asked for ("100-199" or "100-"), the lengths that are known ("400 400"), Content-Length, Content-Range, Content-Type
// and Content-Encoding.

#include "download/ContentRange.h"
#include "download/RangeAnswer.h"
#include "fuzz/Fuzzing.h"

#include <QList>

namespace {

std::optional<qint64> count(const QByteArray &text)
{
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    return isNumber && value >= 0 ? std::optional(value) : std::nullopt;
}

} // namespace

void start(int &, char **) { }

void check(const QByteArray &input)
{
    const QList<QByteArray> lines = input.split('\n');
    const QList<QByteArray> ends = lines.value(1).split('-');
    const QList<QByteArray> lengths = lines.value(2).split(' ');
    const int status = lines.value(0).toInt();
    const RangeAnswer::Head head{status, {}, count(lines.value(3)), lines.value(4), lines.value(5), lines.value(6)};
    RangeAnswer::Asked asked{count(ends.value(0)).value_or(0), count(ends.value(1))};
    if (asked.last && *asked.last < asked.first)
        asked.last.reset();
    const RangeAnswer::Known known{count(lengths.value(0)), count(lengths.value(1))};
    const RangeAnswer answer = RangeAnswer::judge(head, asked, known);
    const std::optional<ContentRange> range = ContentRange::parse(head.contentRange);

    if (!answer.refusal.isEmpty()) {
        FUZZ_VERIFY(answer.skip == 0 && !answer.total && !answer.mayGoOn);
    } else {
        // Skipped bytes lie before the range, and only the whole stream brings any.
        const bool mayBeWhole = status == 200 || head.contentRange.isEmpty();
        FUZZ_VERIFY(answer.skip == 0 || (mayBeWhole && answer.skip == asked.first));
        FUZZ_VERIFY(!answer.mayGoOn || (status == 206 && !answer.total));
        FUZZ_VERIFY(status == 200 || status == 206 || (status == 416 && answer.total == asked.first));
        FUZZ_VERIFY(status != 206 || head.contentRange.isEmpty() || (range && range->first == asked.first));
        FUZZ_VERIFY(!answer.total || !known.told || answer.total == known.told || status == 416);
    }
    if (range) {
        FUZZ_VERIFY(range->first || (range->total && !range->last));
        FUZZ_VERIFY(range->first.value_or(0) >= 0 && range->last.value_or(range->first.value_or(0)) >= range->first);
        FUZZ_VERIFY(!range->first || !range->total || *range->total > range->last.value_or(*range->first));
    }
}
