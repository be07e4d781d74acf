#include "ui/TransferRate.h"

#include "ui/SizeText.h"

#include <QTime>

#include <algorithm>
#include <cmath>

namespace {

constexpr qint64 changeInterval = 500; // milliseconds
constexpr double averagingPeriod = 3; // seconds
constexpr QChar figureSpace(0x2007); // as wide as a digit
constexpr double longestTime = 24 * 3600.0; // seconds

QString timeText(double seconds)
{
    const double whole = std::ceil(seconds);
    if (!(whole < longestTime))
        return QStringLiteral("--:--:--");
    return QTime(0, 0).addSecs(static_cast<int>(whole)).toString(QStringLiteral("hh:mm:ss"));
}

} // namespace

QString TransferRate::text(qint64 received, qint64 total)
{
    if (total <= 0)
        return {};
    const qint64 now = m_clock.elapsed();
    if (now - m_lastChange >= changeInterval) {
        const double seconds = static_cast<double>(now - m_lastChange) / 1000;
        const double current = static_cast<double>(received - m_lastReceived) / seconds;
        // The first figure counts whole, later ones by their share of the averaging period.
        const double weight = m_bytesPerSecond > 0 ? 1 - std::exp(-seconds / averagingPeriod) : 1;
        m_bytesPerSecond += weight * (current - m_bytesPerSecond);
        m_lastChange = now;
        m_lastReceived = received;
        m_rateText = QStringLiteral("  %1/s  %2")
                         .arg(formatSize(static_cast<qint64>(m_bytesPerSecond)),
                              timeText(static_cast<double>(total - received) / m_bytesPerSecond));
    }
    const QString percent = QString::number(100 * received / total).rightJustified(3, figureSpace);
    return percent + QLatin1Char('%') + m_rateText;
}
