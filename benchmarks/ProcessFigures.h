#pragma once

#include <QtGlobal>

// What the running process holds, as /proc and the C library tell; -1 where they do not.
namespace ProcessFigures {

[[nodiscard]] int threads();
[[nodiscard]] int descriptors();
[[nodiscard]] qint64 residentBytes();
// What the process has allocated and not freed; how the allocator scatters and keeps pages does not count.
[[nodiscard]] qint64 allocatedBytes();
[[nodiscard]] qint64 peakResidentBytes();
// From now on peakResidentBytes() counts anew.
void resetPeak();

} // namespace ProcessFigures
