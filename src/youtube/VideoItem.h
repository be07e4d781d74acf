#pragma once

#include "youtube/Meta.h"

#include <QList>
#include <QString>
#include <QVector>

class QJsonObject;

// One analysed video with its stream formats; a plain value.
class VideoItem
{
public:
    VideoItem() = default;
    // Reads the player configuration of a watch page and asks for the size of every format, one after another. Blocks
    // in nested event loops; GUI thread only. What the configuration lacks stays empty.
    explicit VideoItem(QJsonObject &config);

    [[nodiscard]] QString getVideoId() const { return m_videoId; }
    void setVideoId(const QString &videoId) { m_videoId = videoId; }
    [[nodiscard]] QString getTitle() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }
    [[nodiscard]] QString getAuthor() const { return m_author; }
    void setAuthor(const QString &author) { m_author = author; }
    [[nodiscard]] QString getThumbnail() const { return m_thumbnail; }
    void setThumbnail(const QString &thumbnail) { m_thumbnail = thumbnail; }
    [[nodiscard]] QString getUrl() const { return m_url; }
    void setUrl(const QString &url) { m_url = url; }
    // Hours, minutes and seconds such as "01:02:05".
    [[nodiscard]] QString getLength() const { return m_length; }
    void setLength(const QString &length) { m_length = length; }
    // In the order of the site's stream map.
    [[nodiscard]] QList<Meta> getAvailaibleFormats() const { return m_availableFormats; }
    void setAvailaibleFormats(const QList<Meta> &formats) { m_availableFormats = formats; }

    // False for a page that holds no video.
    [[nodiscard]] bool isValid() const { return !m_videoId.isEmpty() || !m_title.isEmpty(); }

    // Writes the record to the debug output.
    void printInfo() const;

private:
    QString m_videoId;
    QString m_title;
    QString m_author;
    QString m_thumbnail;
    QString m_url;
    QString m_length;
    QList<Meta> m_availableFormats;
};
