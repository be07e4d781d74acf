#include "settings/FileNames.h"

#include <QFile>
#include <QTextBoundaryFinder>

namespace {

constexpr int longestName = 255; // bytes

} // namespace

namespace Utility {

QString ReplaceBadCharOfFileName(const QString &name)
{
    QString cleaned = name;
    for (const char bad : {'\\', '/', ':', '*', '?', '"', '<', '>', '|'})
        cleaned.remove(QLatin1Char(bad));
    return cleaned;
}

QString fittingFileName(const QString &wanted)
{
    // The system would take such a name for one that ends there, and open another file.
    QString name = QString(wanted).remove(QChar::Null);
    const auto fits = [](const QString &text) { return QFile::encodeName(text).size() <= longestName; };
    if (fits(name))
        return name;
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    const QString extension = dot < 0 ? QString() : name.mid(dot);
    const QString base = name.left(name.size() - extension.size());
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, base);
    characters.toEnd();
    QString shortened = name;
    while (!fits(shortened) && characters.toPreviousBoundary() >= 0)
        shortened = base.left(characters.position()) + extension;
    return shortened;
}

} // namespace Utility
