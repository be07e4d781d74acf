#pragma once

#include <QString>
#include <QStringList>

namespace Utility {

// Walks folder trees and returns lists of paths. Hidden entries are never listed; a folder that is missing or
// unreadable is an empty one; symbolic links are followed, but a folder is not entered again while it is being walked,
// so every walk ends. Parameters that are lists in one text have their items separated by "|", and empty items count.
// No state; any thread.
class CImportFilter
{
public:
    CImportFilter() = delete;

    static bool HaveSubDir(const QString &path);

    // Depth first, each folder in its place among its neighbours, by name ignoring case.
    static QStringList filterFileByPath(QString path);
    // Starts with the path itself, as it was given.
    static QStringList filterDirByPath(QString path);
    // Case counts.
    static QStringList filterDirWithEndString(QString path, QString end);
    // Case does not count; a file is listed once for each suffix that it ends with.
    static QStringList filterFileByPathAndSuffix(QString path, QString suffixes);
    // A file is listed once for each matching folder above it.
    static QStringList filterFilesWithFolderNameAndSuffix(QString path, QString folderNames, QString suffixes);

    static QStringList FilterSpecificItems(QStringList items, QString text);

    // A file is a media file when its suffix occurs anywhere in the format filter of the settings, so one without a
    // suffix always is. Folders come before files, by name, case counting.
    static QStringList FindAllSpecifiedFile(const QString &path);
    // Only the folder itself, by name ignoring case.
    static QStringList FindCurSpecifiedFile(const QString &path);
};

} // namespace Utility
