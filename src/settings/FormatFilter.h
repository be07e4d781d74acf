#pragma once

#include <QString>

namespace Utility {

// The kinds of media files, as groups of a name filter in the form that QFileDialog takes.
[[nodiscard]] QString mediaFormatFilter();

} // namespace Utility
