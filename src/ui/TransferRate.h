#pragma once

#include <QElapsedTimer>
#include <QString>

// Tells how a transfer goes, in a text that stays readable while it changes: speed is averaged over the last seconds,
// the text changes at most twice a second, and the per cent keeps its width.
class TransferRate final
{
public:
    TransferRate() { m_clock.start(); }

    // Bytes so far and in all; the text to show now, such as " 42%  1.50MB/s  00:00:12".
    [[nodiscard]] QString text(qint64 received, qint64 total);

private:
    QElapsedTimer m_clock;
    qint64 m_lastChange = 0; // milliseconds of the clock
    qint64 m_lastReceived = 0;
    double m_bytesPerSecond = 0;
    QString m_rateText;
};
