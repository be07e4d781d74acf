#include "framework/ScreenFit.h"

#include <QGuiApplication>
#include <QScreen>
#include <QStyle>
#include <QWidget>

void fitToScreen(QWidget &window)
{
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        return;
    // What the window system puts around a window is known only later; the style's own idea of it comes close.
    const int title = window.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &window);
    const int border = window.style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth, nullptr, &window);
    const QSize room = window.screen()->availableSize() - QSize(2 * border, title + 2 * border);
    window.resize(window.size().boundedTo(room));
}
