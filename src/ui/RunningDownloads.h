#pragma once

#include "settings/DownloadJournal.h"

#include <QString>

#include <map>
#include <memory>

class DownloadManager;
class Meta;
class QObject;

// The downloads that a page has under way, each with its note in the journal. What is still running when it goes ends
// with it, and its note stays for the next start to find.
class RunningDownloads final
{
    Q_DISABLE_COPY_MOVE(RunningDownloads)

public:
    RunningDownloads();
    ~RunningDownloads();

    [[nodiscard]] bool isEmpty() const { return m_running.empty(); }
    // Two downloads at once into one file would leave a mixture of both.
    [[nodiscard]] bool isWriting(const QString &path) const;
    // The manager of a new download, still to be connected and started; parent and tag are the manager's.
    DownloadManager *add(const Meta &meta, const QString &path, QObject *parent, void *tag);
    // Deletes the manager, whoever made it; the path of its file, empty for somebody else's.
    QString finish(DownloadManager *manager);

    // The files that earlier runs of the application have left incomplete; told once.
    [[nodiscard]] QStringList takeLeftovers() { return m_journal.takeLeftovers(); }

private:
    DownloadJournal m_journal;
    std::map<std::unique_ptr<DownloadManager>, QString> m_running; // with the canonical path of the file
};
