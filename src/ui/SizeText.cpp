#include "ui/SizeText.h"

QString formatSize(qint64 bytes)
{
    const auto text = [bytes](qint64 unit, QLatin1String name) -> QString {
        return QString::number(static_cast<double>(bytes) / static_cast<double>(unit), 'f', 2) + name;
    };
    if (bytes > qint64(1) << 30)
        return text(qint64(1) << 30, QLatin1String("GB"));
    if (bytes > qint64(1) << 20)
        return text(qint64(1) << 20, QLatin1String("MB"));
    if (bytes > qint64(1) << 10)
        return text(qint64(1) << 10, QLatin1String("KB"));
    if (bytes > 0)
        return QString::number(bytes) + QLatin1Char('B');
    return QStringLiteral("N/A");
}
