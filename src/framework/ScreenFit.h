#pragma once

class QWidget;

// Shrinks a window that is about to be shown to what its screen has free; what fits stays as it is. The offscreen
// platform has no screen that a person looks at, and nothing is fitted there.
void fitToScreen(QWidget &window);
