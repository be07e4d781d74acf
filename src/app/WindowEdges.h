#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

// The arithmetic of a window that is resized by its edges and corners: plain values in pixels, no window.
namespace WindowEdges {

enum ResizeRegion { None, Top, Right, Bottom, Left, TopRight, BottomRight, BottomLeft, TopLeft };

// The region at a position within a window of that size.
[[nodiscard]] ResizeRegion regionAt(const QPoint &pos, const QSize &window);

[[nodiscard]] Qt::CursorShape cursorFor(ResizeRegion region);

struct Drag
{
    QRect window; // its position and size
    QPoint last; // global position up to which the pointer's travel is used up
};

// The window after the pointer has travelled on to a global position. A dimension that would reach its minimum or fall
// below stays, and so does its share of the travel; an edge on the left or the top jumps to the pointer.
[[nodiscard]] Drag dragged(const Drag &drag, ResizeRegion region, const QPoint &pointer, const QSize &minimum);

} // namespace WindowEdges
