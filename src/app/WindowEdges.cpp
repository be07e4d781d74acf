#include "app/WindowEdges.h"

namespace WindowEdges {

namespace {

constexpr int border = 5; // pixels

constexpr Qt::CursorShape cursors[] = {
    Qt::ArrowCursor,     Qt::SizeVerCursor,   Qt::SizeHorCursor,   Qt::SizeVerCursor,   Qt::SizeHorCursor,
    Qt::SizeBDiagCursor, Qt::SizeFDiagCursor, Qt::SizeBDiagCursor, Qt::SizeFDiagCursor,
};

} // namespace

ResizeRegion regionAt(const QPoint &pos, const QSize &window)
{
    const bool isLeft = pos.x() >= 0 && pos.x() < border;
    const bool isTop = pos.y() >= 0 && pos.y() < border;
    const bool isRight = pos.x() > window.width() - border && pos.x() <= window.width();
    const bool isBottom = pos.y() > window.height() - border && pos.y() <= window.height();

    if (isLeft && isBottom)
        return BottomLeft;
    if (isTop && isRight)
        return TopRight;
    if (isLeft && isTop)
        return TopLeft;
    if (isLeft)
        return Left;
    if (isTop)
        return Top;
    if (isBottom && isRight)
        return BottomRight;
    if (isRight)
        return Right;
    return isBottom ? Bottom : None;
}

Qt::CursorShape cursorFor(ResizeRegion region)
{
    return cursors[region];
}

Drag dragged(const Drag &drag, ResizeRegion region, const QPoint &pointer, const QSize &minimum)
{
    if (pointer == drag.last)
        return drag;
    const bool movesLeft = region == Left || region == TopLeft || region == BottomLeft;
    const bool movesRight = region == Right || region == TopRight || region == BottomRight;
    const bool movesTop = region == Top || region == TopLeft || region == TopRight;
    const bool movesBottom = region == Bottom || region == BottomLeft || region == BottomRight;

    QPoint pos = drag.window.topLeft();
    QSize size = drag.window.size();
    QPoint last = drag.last;
    const QPoint travel = pointer - last;
    if (movesLeft || movesRight) {
        const int width = size.width() + (movesLeft ? -travel.x() : travel.x());
        if (width > minimum.width()) {
            size.setWidth(width);
            last.setX(pointer.x());
            if (movesLeft)
                pos.setX(pointer.x());
        }
    }
    if (movesTop || movesBottom) {
        const int height = size.height() + (movesTop ? -travel.y() : travel.y());
        if (height > minimum.height()) {
            size.setHeight(height);
            last.setY(pointer.y());
            if (movesTop)
                pos.setY(pointer.y());
        }
    }
    return {QRect(pos, size), last};
}

} // namespace WindowEdges
