#pragma once

#include <QString>

// One downloadable stream format of a video; a plain value.
class Meta
{
public:
    Meta() = default;
    // A format as the site numbers it; extension and resolution follow from the number.
    Meta(int itag, const QString &url);

    [[nodiscard]] int getItag() const { return m_itag; }
    void setItag(const int &itag) { m_itag = itag; }
    // Address of the stream.
    [[nodiscard]] QString getUrl() const { return m_url; }
    void setUrl(const QString &url) { m_url = url; }
    // File extension without a dot.
    [[nodiscard]] QString getExtension() const { return m_extension; }
    void setExtension(const QString &extension) { m_extension = extension; }
    // Frame size such as "1280X720"; empty when the number does not tell.
    [[nodiscard]] QString getResolution() const { return m_resolution; }
    void setResolution(const QString &resolution) { m_resolution = resolution; }
    // Size text such as "1.50 MB"; true also for a stream too large for getSize().
    [[nodiscard]] QString getHumanReadableSize() const { return m_humanReadableSize; }
    void setHumanReadableSize(const QString &humanReadableSize) { m_humanReadableSize = humanReadableSize; }
    // Bytes; 0 means unknown, or 2 GiB and more.
    [[nodiscard]] int getSize() const { return m_size; }
    void setSize(const int &size) { m_size = size; }

    // Asks the stream's server for the size, following 301 and 302, and keeps the last address. Blocks in nested event
    // loops; GUI thread only. A failure is logged and leaves the size as it was.
    void findVideoSize();

private:
    int m_itag = 0;
    QString m_url;
    QString m_extension;
    QString m_resolution;
    QString m_humanReadableSize;
    int m_size = 0;
};
