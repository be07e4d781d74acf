#pragma once

#include <QString>

// Compact size text of the task list: two decimals, no blank before the unit, "N/A" for nothing.
[[nodiscard]] QString formatSize(qint64 bytes);
