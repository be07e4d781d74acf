// The Content-Range header of an answer to the range that it names.

#include "download/ContentRange.h"
#include "fuzz/Fuzzing.h"

#include <QString>

int LLVMFuzzerInitialize(int *, char ***)
{
    silence();
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto range = ContentRange::parse(inputOf(data, size));
    if (!range)
        return 0;
    FUZZ_VERIFY(range->first.has_value() == range->last.has_value());
    FUZZ_VERIFY(range->first || range->total);
    if (range->first)
        FUZZ_VERIFY(*range->first >= 0 && *range->last >= *range->first);
    if (range->first && range->total)
        FUZZ_VERIFY(*range->last < *range->total);

    QByteArray ends("*");
    if (range->first)
        ends = QByteArray::number(*range->first) + '-' + QByteArray::number(*range->last);
    const QByteArray total = range->total ? QByteArray::number(*range->total) : QByteArray("*");
    const auto again = ContentRange::parse("bytes " + ends + '/' + total);
    FUZZ_VERIFY(again && again->first == range->first && again->last == range->last && again->total == range->total);
    return 0;
}
