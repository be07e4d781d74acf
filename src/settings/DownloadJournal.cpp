#include "settings/DownloadJournal.h"

#include "settings/CAppSetting.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

QString fingerprint(const QString &path)
{
    const QByteArray hash = QCryptographicHash::hash(path.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(hash.toHex().left(16));
}

} // namespace

DownloadJournal::DownloadJournal()
    : m_folder(CAppSetting::instance()->appHome + QStringLiteral("Running/"))
    , m_prefix(fingerprint(QCoreApplication::applicationFilePath()) + QLatin1Char('-'))
{
}

void DownloadJournal::note(const QString &filePath)
{
    QDir().mkpath(m_folder);
    QSaveFile file(noteOf(filePath));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(filePath.toUtf8());
        file.commit();
    }
}

void DownloadJournal::forget(const QString &filePath)
{
    QFile::remove(noteOf(filePath));
    // Leaves no trace; does nothing while other notes are there.
    QDir().rmdir(m_folder);
}

QStringList DownloadJournal::takeLeftovers()
{
    QStringList paths;
    const QFileInfoList notes = QDir(m_folder).entryInfoList({m_prefix + QLatin1Char('*')}, QDir::Files, QDir::Time);
    for (const QFileInfo &note : notes) {
        QFile file(note.filePath());
        const QString path = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
        // What a kill has left half written bears another name.
        if (note.filePath() == noteOf(path) && QFileInfo::exists(path))
            paths.append(path);
        file.remove();
    }
    QDir().rmdir(m_folder);
    return paths;
}

QString DownloadJournal::noteOf(const QString &filePath) const
{
    return m_folder + m_prefix + fingerprint(filePath);
}
