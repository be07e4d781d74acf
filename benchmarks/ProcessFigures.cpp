#include "ProcessFigures.h"

#include <QDir>
#include <QFile>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

qint64 statusValue(const QByteArray &name)
{
    QFile file(QStringLiteral("/proc/self/status"));
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

int threads()
{
    return static_cast<int>(statusValue("Threads"));
}

int descriptors()
{
    const QDir folder(QStringLiteral("/proc/self/fd"));
    // One of them is the listing's own.
    return folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size() - 1;
}

qint64 residentBytes()
{
    return statusValue("VmRSS") * 1024;
}

qint64 allocatedBytes()
{
#ifdef __GLIBC__
    const struct mallinfo2 info = mallinfo2();
    return qint64(info.uordblks) + qint64(info.hblkhd);
#else
    return -1;
#endif
}

qint64 peakResidentBytes()
{
    return statusValue("VmHWM") * 1024;
}

void resetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

} // namespace ProcessFigures
