#include "youtube/VideoItem.h"

#include "youtube/NetworkManager.h"

#include <QDebug>
#include <QHash>
#include <QJsonObject>
#include <QUrl>

namespace {

// One entry of the stream map: pairs joined by "&", keys as they stand, values percent-decoded up to a second "=".
Meta parseStreamEntry(const QString &entry)
{
    QHash<QString, QString> values;
    const QStringList pairs = entry.split(QLatin1Char('&'));
    for (const QString &pair : pairs) {
        const QStringList parts = pair.split(QLatin1Char('='));
        if (parts.size() < 2)
            continue;
        const QByteArray bytes = QByteArray::fromPercentEncoding(parts.at(1).toUtf8());
        // With its size, since a zero byte is a byte like any other.
        const QString value = QString::fromUtf8(bytes.constData(), bytes.size());
        qDebug().noquote() << parts.first() + QStringLiteral(" - ") + value;
        values.insert(parts.first(), value);
    }
    return Meta(values.value(QStringLiteral("itag")).toInt(), values.value(QStringLiteral("url")));
}

QString lengthText(int seconds)
{
    const QLatin1Char zero('0');
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600, 2, 10, zero)
        .arg(seconds / 60 % 60, 2, 10, zero)
        .arg(seconds % 60, 2, 10, zero);
}

} // namespace

VideoItem::VideoItem(QJsonObject &config)
{
    const QJsonObject args = config.value(QStringLiteral("args")).toObject();
    const auto text = [&args](const QString &key) { return args.value(key).toString(); };

    m_videoId = text(QStringLiteral("video_id"));
    m_title = text(QStringLiteral("title"));
    m_author = text(QStringLiteral("author"));
    m_thumbnail = text(QStringLiteral("thumbnail_url"));
    m_url = text(QStringLiteral("loadedUrl"));
    m_length = lengthText(text(QStringLiteral("length_seconds")).toInt());

    const QStringList entries = text(QStringLiteral("url_encoded_fmt_stream_map")).split(QLatin1Char(','));
    for (const QString &entry : entries) {
        Meta meta = parseStreamEntry(entry);
        if (!NetworkManager::getInstance()->isInterrupted())
            meta.findVideoSize();
        m_availableFormats.append(meta);
    }
}

void VideoItem::printInfo() const
{
    qDebug() << "Title : " << m_title;
    qDebug() << "Author : " << m_author;
    qDebug() << "Length : " << m_length;
    qDebug() << "VideoItem Id : " << m_videoId;
    for (const Meta &meta : m_availableFormats)
        qDebug().noquote() << QString::number(meta.getItag()) + QLatin1Char(' ') + meta.getHumanReadableSize();
}
