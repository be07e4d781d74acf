#include "settings/Sizes.h"

namespace Utility {

QString NumberToSizeStr(unsigned long long bytes)
{
    const auto text = [bytes](unsigned long long unit, QLatin1String name) -> QString {
        return QString::number(static_cast<double>(bytes) / static_cast<double>(unit), 'f', 2) + name;
    };
    if (bytes > 1ULL << 30)
        return text(1ULL << 30, QLatin1String(" GB"));
    if (bytes > 1ULL << 20)
        return text(1ULL << 20, QLatin1String(" MB"));
    if (bytes > 1ULL << 10)
        return text(1ULL << 10, QLatin1String(" KB"));
    return text(1, QLatin1String(" B"));
}

} // namespace Utility
