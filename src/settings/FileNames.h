#pragma once

#include <QString>

namespace Utility {

// The title without the nine characters that file systems reject; nothing takes their place, and a title made only of
// them becomes empty.
[[nodiscard]] QString ReplaceBadCharOfFileName(const QString &name);

// The name as it is, where file systems take its length (255 bytes); a longer one loses whole characters before its
// extension.
// Zero characters, which no file system takes, are left out.
[[nodiscard]] QString fittingFileName(const QString &wanted);

} // namespace Utility
