#include "youtube/Meta.h"

#include "youtube/StreamHead.h"

#include <QDebug>

#include <limits>

namespace {

struct Format
{
    int itag;
    QLatin1String extension;
    QLatin1String resolution;
};

const Format knownFormats[] = {
    {5, QLatin1String("flv"), QLatin1String("400X240")},  {17, QLatin1String("3gp"), QLatin1String("320X240")},
    {18, QLatin1String("mp4"), QLatin1String("640X360")}, {22, QLatin1String("mp4"), QLatin1String("1280X720")},
    {36, QLatin1String("3gp"), QLatin1String("320X240")}, {43, QLatin1String("webm"), QLatin1String("640X360")},
};

QString sizeText(qint64 bytes)
{
    double value = static_cast<double>(bytes);
    QLatin1String unit("bytes");
    for (const auto &larger : {QLatin1String("KB"), QLatin1String("MB"), QLatin1String("GB")}) {
        if (value / 1024 < 1)
            break;
        value /= 1024;
        unit = larger;
    }
    return QString::number(value, 'f', 2) + QLatin1Char(' ') + unit;
}

} // namespace

Meta::Meta(int itag, const QString &url)
    : m_itag(itag)
    , m_url(url)
    , m_extension(QStringLiteral("mp4"))
{
    for (const Format &format : knownFormats) {
        if (format.itag == itag) {
            m_extension = format.extension;
            m_resolution = format.resolution;
        }
    }
}

void Meta::findVideoSize()
{
    const StreamHead head = StreamHead::ask(m_url, {301, 302});
    qint64 bytes = m_size;
    if (!head.error.isEmpty()) {
        qDebug() << "Failure" << head.error;
    } else if (head.status == 200) {
        bytes = head.length.value_or(0);
        m_size = bytes <= std::numeric_limits<int>::max() ? static_cast<int>(bytes) : 0;
    }
    m_humanReadableSize = sizeText(bytes);
}
