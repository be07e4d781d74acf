#include "download/RangeAnswer.h"

#include "download/ContentRange.h"

#include <QCoreApplication>

namespace {

constexpr int longestPhrase = 100; // characters

QString tr(const char *text)
{
    return QCoreApplication::translate("RangeAnswer", text);
}

RangeAnswer refused(const QString &reason)
{
    RangeAnswer answer;
    answer.refusal = reason;
    return answer;
}

RangeAnswer accepted(qint64 skip, std::optional<qint64> total)
{
    RangeAnswer answer;
    answer.skip = skip;
    answer.total = total;
    return answer;
}

// 200 OK: the whole stream, from a server that knows no ranges; or just what was asked for, from one that does not say
// so.
RangeAnswer judgeWhole(const RangeAnswer::Head &head, const RangeAnswer::Asked &asked, const RangeAnswer::Known &known)
{
    const std::optional<qint64> length = head.contentLength;
    const std::optional<qint64> stream = known.told ? known.told : known.probed;
    if (length && asked.last && *length - 1 == *asked.last - asked.first && length != stream)
        return accepted(0, std::nullopt);
    if (length && *length <= asked.first && asked.first > 0)
        return refused(tr("The stream on the server ends before this part"));
    return accepted(asked.first, length);
}

// 206 Partial Content. Plain servers leave out the Content-Range, and some then send the whole stream all the same;
// several parts at once cannot be told apart.
RangeAnswer judgePart(const RangeAnswer::Head &head, const RangeAnswer::Asked &asked, const RangeAnswer::Known &known)
{
    const QString anotherPart = tr("The server sent another part of the stream than was asked for");
    if (head.contentType.toLower().startsWith("multipart/"))
        return refused(anotherPart);
    if (head.contentRange.isEmpty()) {
        const bool isWhole =
            head.contentLength && (head.contentLength == known.told || head.contentLength == known.probed);
        return isWhole ? judgeWhole(head, asked, known) : accepted(0, std::nullopt);
    }
    const std::optional<ContentRange> range = ContentRange::parse(head.contentRange);
    if (!range || range->first != asked.first)
        return refused(anotherPart);
    RangeAnswer answer = accepted(0, range->total);
    answer.mayGoOn = range->last && !range->total;
    return answer;
}

} // namespace

RangeAnswer RangeAnswer::judge(const Head &head, const Asked &asked, const Known &known)
{
    // Asked for what follows the last byte, a server has nothing to send: the range is there already.
    if (head.status == 416 && !asked.last) {
        const std::optional<ContentRange> range = ContentRange::parse(head.contentRange);
        if (range ? range->total == asked.first : asked.first > 0)
            return accepted(0, asked.first);
    }
    if (head.status != 200 && head.status != 206) {
        const QString status = QString::number(head.status);
        return refused(tr("The server answered %1 %2").arg(status, head.phrase.left(longestPhrase)).trimmed());
    }
    const QByteArray encoding = head.contentEncoding.trimmed().toLower();
    if (!encoding.isEmpty() && encoding != "identity")
        return refused(tr("The server sent the stream in an encoding that cannot be split"));

    RangeAnswer answer = head.status == 206 ? judgePart(head, asked, known) : judgeWhole(head, asked, known);
    // Bytes of two versions must not mix.
    if (answer.total && known.told && *answer.total != *known.told)
        return refused(tr("The stream on the server has changed"));
    return answer;
}
