#pragma once

#include <QFile>

// The place of one range in the output file: bytes go in one after another, unbuffered, so that a full disk shows in
// the write that meets it. What others have written around it stays.
class RangeFile final
{
    Q_DISABLE_COPY_MOVE(RangeFile)

public:
    RangeFile(const QString &path, qint64 start);

    // Makes the file where there is none; false where it cannot be opened, as error() tells.
    bool open();
    // False where not all of it could be written; position() tells how much was.
    bool write(const char *bytes, qint64 count);
    // False where the system refuses only now what it has taken before.
    bool close();

    // Offset of the next byte.
    [[nodiscard]] qint64 position() const { return m_position; }
    // In words for a person.
    [[nodiscard]] QString error() const { return m_file.errorString(); }

private:
    QFile m_file;
    qint64 m_position;
};
