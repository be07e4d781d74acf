#pragma once

#include <QString>

// A video's title as far as lists show it, 500 characters: painting one of megabytes takes seconds.
[[nodiscard]] QString shownTitle(const QString &title);
