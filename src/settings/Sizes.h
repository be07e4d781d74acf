#pragma once

#include <QString>

namespace Utility {

// Size text with two decimals and a blank before the unit; a unit is 1024 of the one below, and an exact power of 1024
// still reads in the smaller unit ("1024.00 KB").
[[nodiscard]] QString NumberToSizeStr(unsigned long long bytes);

} // namespace Utility
