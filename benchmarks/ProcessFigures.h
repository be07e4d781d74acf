#pragma once

#include <QtGlobal>

// What the running process holds, read from /proc; -1 where the system does not tell.
namespace ProcessFigures {

[[nodiscard]] int threads();
[[nodiscard]] int descriptors();
[[nodiscard]] qint64 residentBytes();
[[nodiscard]] qint64 peakResidentBytes();
// From now on peakResidentBytes() counts anew.
void resetPeak();

} // namespace ProcessFigures
