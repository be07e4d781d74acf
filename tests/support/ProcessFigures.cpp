#include "support/ProcessFigures.h"

#include <QDir>
#include <QFile>

namespace {

QString entryOf(qint64 process, const QString &name)
{
    return QStringLiteral("/proc/%1/%2").arg(process == 0 ? QStringLiteral("self") : QString::number(process), name);
}

qint64 statusValue(qint64 process, const QByteArray &name)
{
    QFile file(entryOf(process, QStringLiteral("status")));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).simplified().split(' ').first().toLongLong();
    }
    return -1;
}

} // namespace

namespace ProcessFigures {

int threads(qint64 process)
{
    return static_cast<int>(statusValue(process, "Threads"));
}

int descriptors(qint64 process)
{
    const QDir folder(entryOf(process, QStringLiteral("fd")));
    const int entries = folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
    // One of them is the listing's own.
    return process == 0 ? entries - 1 : entries;
}

qint64 residentBytes(qint64 process)
{
    return statusValue(process, "VmRSS") * 1024;
}

qint64 peakResidentBytes()
{
    return statusValue(0, "VmHWM") * 1024;
}

void resetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

} // namespace ProcessFigures
