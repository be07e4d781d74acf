#include "download/RangeFile.h"

RangeFile::RangeFile(const QString &path, qint64 start)
    : m_file(path)
    , m_position(start)
{
}

bool RangeFile::open()
{
    // Write-only alone would empty the file.
    return m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && m_file.seek(m_position);
}

bool RangeFile::write(const char *bytes, qint64 count)
{
    // A full disk may take a part before it refuses the rest.
    while (count > 0) {
        const qint64 written = m_file.write(bytes, count);
        if (written <= 0)
            return false;
        m_position += written;
        bytes += written;
        count -= written;
    }
    return true;
}

bool RangeFile::close()
{
    // Where files lie on another machine, a full disk may show only now.
    m_file.close();
    return m_file.error() == QFileDevice::NoError;
}
