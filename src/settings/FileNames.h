#pragma once

#include <QString>

namespace Utility {

// The title without the nine characters that file systems reject; nothing takes their place, and a title made only of
// them becomes empty.
[[nodiscard]] QString ReplaceBadCharOfFileName(const QString &name);

} // namespace Utility
