#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <random>

// The bytes of the file; "unreadable" where there is none.
inline QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("unreadable");
}

// Without a pattern, so that no misplaced byte fits.
inline QByteArray randomBytes(int size)
{
    QByteArray bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [source = std::mt19937(4)]() mutable { return char(source()); });
    return bytes;
}

// Makes the file and its folders; false where that fails.
inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size();
}
