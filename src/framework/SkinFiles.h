#pragma once

#include <QIcon>
#include <QPixmap>
#include <QString>

// Path of a file of the skin, such as an image or the style sheet.
[[nodiscard]] QString skinFile(const QString &name);

// An image of the skin, in twice the resolution where the screen has it; a null one where it is missing.
[[nodiscard]] QPixmap skinPixmap(const QString &name);

// The icon that stands beside the executable; a null one where it is missing.
[[nodiscard]] QIcon applicationIcon();
