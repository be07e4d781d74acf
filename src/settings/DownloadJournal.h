#pragma once

#include <QString>
#include <QStringList>

// Notes which files are being written, so that the next start can tell which ones this run was still writing when it
// ended, however that came. One small file for each, in a folder of its own beside the person's options; each is whole
// or not there. An executable knows its own notes only: one instance of it runs for each person.
class DownloadJournal final
{
public:
    DownloadJournal();

    // Before the first byte is written; what cannot be noted is not reported.
    void note(const QString &filePath);
    // When the download has ended.
    void forget(const QString &filePath);
    // The files that earlier runs have noted and not forgotten, as far as they still exist. Each is told once.
    [[nodiscard]] QStringList takeLeftovers();

private:
    [[nodiscard]] QString noteOf(const QString &filePath) const;

    const QString m_folder; // ends in "/"
    const QString m_prefix; // of this executable's notes
};
