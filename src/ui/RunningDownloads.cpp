#include "ui/RunningDownloads.h"

#include "download/DownloadManager.h"
#include "download/FileIdentity.h"

#include <QFileInfo>

#include <algorithm>

RunningDownloads::RunningDownloads() = default;
RunningDownloads::~RunningDownloads() = default;

bool RunningDownloads::isWriting(const QString &path) const
{
    const std::optional<FileIdentity> file = FileIdentity::of(path);
    return std::any_of(m_running.begin(), m_running.end(), [&file](const auto &running) {
        const std::optional<FileIdentity> other = FileIdentity::of(running.second);
        return file && other && file->isSameFile(*other);
    });
}

DownloadManager *RunningDownloads::add(const Meta &meta, const QString &path, QObject *parent, void *tag)
{
    const QString canonicalPath = QFileInfo(path).canonicalFilePath();
    m_journal.note(canonicalPath);
    auto manager = std::make_unique<DownloadManager>(meta, path, parent, tag);
    return m_running.emplace(std::move(manager), canonicalPath).first->first.get();
}

QString RunningDownloads::finish(DownloadManager *manager)
{
    const auto running = std::find_if(m_running.begin(), m_running.end(),
                                      [manager](const auto &entry) { return entry.first.get() == manager; });
    if (running == m_running.end()) {
        delete manager;
        return {};
    }
    QString path = running->second;
    m_journal.forget(path);
    m_running.erase(running);
    return path;
}
