#pragma once

#include <QtGlobal>

// What a process holds, the running one if none is given, read from /proc; -1 where the system does not tell.
namespace ProcessFigures {

[[nodiscard]] int threads(qint64 process = 0);
[[nodiscard]] int descriptors(qint64 process = 0);
[[nodiscard]] qint64 residentBytes(qint64 process = 0);
[[nodiscard]] qint64 peakResidentBytes();
// From now on peakResidentBytes() counts anew.
void resetPeak();

} // namespace ProcessFigures
