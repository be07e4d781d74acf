#include "settings/FileNames.h"

namespace Utility {

QString ReplaceBadCharOfFileName(const QString &name)
{
    QString cleaned = name;
    for (const char bad : {'\\', '/', ':', '*', '?', '"', '<', '>', '|'})
        cleaned.remove(QLatin1Char(bad));
    return cleaned;
}

} // namespace Utility
