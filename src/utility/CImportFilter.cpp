#include "utility/CImportFilter.h"

#include "settings/CAppSetting.h"
#include "utility/FolderReader.h"

#include <QDir>
#include <QHash>

#include <algorithm>
#include <functional>
#include <tuple>
#include <vector>

namespace Utility {

namespace {

enum class Order { ByNameIgnoringCase, FoldersFirst };
enum class Depth { WholeTree, ThisFolder };

struct ListedEntry
{
    FolderEntry entry;
    QString key;
};

std::vector<ListedEntry> readSorted(FolderReader &reader, Order order)
{
    std::vector<ListedEntry> listing;
    for (FolderEntry entry; reader.next(entry);) {
        const QString key = order == Order::ByNameIgnoringCase ? entry.name.toLower() : QString();
        listing.push_back({entry, key});
    }
    std::sort(listing.begin(), listing.end(), [order](const ListedEntry &left, const ListedEntry &right) {
        const bool leftLater = order == Order::FoldersFirst && !left.entry.isFolder;
        const bool rightLater = order == Order::FoldersFirst && !right.entry.isFolder;
        return std::tie(leftLater, left.key, left.entry.name) < std::tie(rightLater, right.key, right.entry.name);
    });
    return listing;
}

QString childPath(const QString &folder, const QString &name)
{
    return folder + QDir::separator() + name;
}

// One walk through a tree: knows the folders that it is inside of.
class Walk final
{
    Q_DISABLE_COPY_MOVE(Walk)

public:
    using FileTest = std::function<bool(const QString &name)>;

    Walk() = default;

    QStringList files(const QString &path, Order order, Depth depth, const FileTest &takes)
    {
        const QDir folder(path);
        collectFiles(folder.path(), folder.absolutePath(), order, depth, takes);
        return std::move(m_found);
    }

    QStringList folders(const QString &path)
    {
        collectFolders(path);
        return std::move(m_found);
    }

private:
    std::vector<ListedEntry> enter(const QString &path, Order order)
    {
        FolderReader reader(path);
        const FolderReader::Identity identity = reader.identity();
        const bool again = std::find(m_trail.cbegin(), m_trail.cend(), identity) != m_trail.cend();
        m_trail.push_back(identity);
        return reader.isOpen() && !again ? readSorted(reader, order) : std::vector<ListedEntry>();
    }

    void leave() { m_trail.pop_back(); }

    void collectFiles(const QString &path, const QString &absolute, Order order, Depth depth, const FileTest &takes)
    {
        const QString prefix = absolute.endsWith(QLatin1Char('/')) ? absolute : absolute + QLatin1Char('/');
        for (const ListedEntry &listed : enter(path, order)) {
            const QString &name = listed.entry.name;
            if (!listed.entry.isFolder) {
                if (takes(name))
                    m_found.append(prefix + name);
            } else if (depth == Depth::WholeTree) {
                collectFiles(childPath(path, name), prefix + name, order, depth, takes);
            }
        }
        leave();
    }

    void collectFolders(const QString &path)
    {
        m_found.append(path);
        for (const ListedEntry &listed : enter(path, Order::ByNameIgnoringCase)) {
            if (listed.entry.isFolder)
                collectFolders(childPath(path, listed.entry.name));
        }
        leave();
    }

    std::vector<FolderReader::Identity> m_trail;
    QStringList m_found;
};

bool takesAll(const QString &)
{
    return true;
}

// Searches the long filter text once for each suffix, not once for each file.
class MediaTest final
{
public:
    bool operator()(const QString &name)
    {
        const int dot = name.lastIndexOf(QLatin1Char('.'));
        const QString suffix = dot < 0 ? QString() : name.mid(dot + 1);
        auto known = m_known.find(suffix);
        if (known == m_known.end())
            known = m_known.insert(suffix, m_filter.contains(suffix, Qt::CaseInsensitive));
        return *known;
    }

private:
    QString m_filter = CAppSetting::instance()->getFormatFilter();
    QHash<QString, bool> m_known;
};

} // namespace

bool CImportFilter::HaveSubDir(const QString &path)
{
    FolderReader reader(path);
    for (FolderEntry entry; reader.next(entry);) {
        if (entry.isFolder)
            return true;
    }
    return false;
}

QStringList CImportFilter::filterFileByPath(QString path)
{
    return Walk().files(path, Order::ByNameIgnoringCase, Depth::WholeTree, takesAll);
}

QStringList CImportFilter::filterDirByPath(QString path)
{
    return Walk().folders(path);
}

QStringList CImportFilter::filterDirWithEndString(QString path, QString end)
{
    QStringList folders = filterDirByPath(path);
    const auto misses = [&end](const QString &folder) { return !folder.endsWith(end); };
    folders.erase(std::remove_if(folders.begin(), folders.end(), misses), folders.end());
    return folders;
}

QStringList CImportFilter::filterFileByPathAndSuffix(QString path, QString suffixes)
{
    const QStringList endings = suffixes.split(QLatin1Char('|'));
    const QStringList files = filterFileByPath(path);
    QStringList matches;
    for (const QString &file : files) {
        for (const QString &ending : endings) {
            if (file.endsWith(ending, Qt::CaseInsensitive))
                matches.append(file);
        }
    }
    return matches;
}

QStringList CImportFilter::filterFilesWithFolderNameAndSuffix(QString path, QString folderNames, QString suffixes)
{
    const QStringList allFolders = filterDirByPath(path);
    QStringList files;
    const QStringList names = folderNames.split(QLatin1Char('|'));
    for (const QString &name : names) {
        for (const QString &folder : allFolders) {
            if (folder.endsWith(name))
                files += filterFileByPathAndSuffix(folder, suffixes);
        }
    }
    return files;
}

QStringList CImportFilter::FilterSpecificItems(QStringList items, QString text)
{
    const auto holdsText = [&text](const QString &item) { return item.contains(text); };
    items.erase(std::remove_if(items.begin(), items.end(), holdsText), items.end());
    return items;
}

QStringList CImportFilter::FindAllSpecifiedFile(const QString &path)
{
    return Walk().files(path, Order::FoldersFirst, Depth::WholeTree, MediaTest());
}

QStringList CImportFilter::FindCurSpecifiedFile(const QString &path)
{
    return Walk().files(path, Order::ByNameIgnoringCase, Depth::ThisFolder, MediaTest());
}

} // namespace Utility
