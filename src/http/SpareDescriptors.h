#pragma once

#include <QString>

// Empty where the process can open that many more descriptors; otherwise the system's reason why not. To be asked
// before the network's thread is started, since that thread ends the whole process where it finds none left.
[[nodiscard]] QString descriptorShortage(int needed);
