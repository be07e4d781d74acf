#pragma once

#include <QString>

// The folder, without a slash at the end, in which the instances of one person meet: it belongs to that person alone,
// and a socket with a name of that length (characters) can be made in it. Empty where there is none.
[[nodiscard]] QString instanceFolder(int nameLength);
