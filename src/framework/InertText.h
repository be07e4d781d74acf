#pragma once

#include <QString>

// Text from outside, for a label or a tool tip that guesses whether it is given markup: shown letter by letter.
[[nodiscard]] QString inertText(const QString &text);
