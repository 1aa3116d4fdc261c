#pragma once

#include <QRectF>
#include <QRegion>

#include <algorithm>
#include <cmath>
#include <vector>

namespace vantry {

/// The first pixel whose centre isn't before the coordinate.
[[nodiscard]] inline int firstPixel(double coordinate)
{
    return static_cast<int>(std::ceil(coordinate - 0.5));
}

/// The pixels of a shape that is the same at its left and right side: those whose centre is inside of it, row by row.
/// The inset is how far it is from the rectangle's sides at a height; between its corners it is straight.
template <typename Inset>
[[nodiscard]] QRegion regionOfRows(const QRectF &rect, double topCorner, double bottomCorner, Inset insetAt)
{
    if (rect.isEmpty())
        return {};
    std::vector<QRect> rows;
    const int end = firstPixel(rect.bottom());
    const int straightEnd = firstPixel(rect.bottom() - bottomCorner);
    for (int y = firstPixel(rect.top()); y < end;) {
        const double inset = insetAt(y + 0.5 - rect.top());
        const int left = firstPixel(rect.left() + inset);
        const int right = firstPixel(rect.right() - inset);
        const bool isStraight = y + 0.5 >= rect.top() + topCorner && y < straightEnd;
        const int height = isStraight ? straightEnd - y : 1;
        if (right > left)
            rows.emplace_back(left, y, right - left, height);
        y += height;
    }
    QRegion region;
    region.setRects(rows.data(), static_cast<int>(rows.size()));
    return region;
}

/// Whether a point is inside of such a shape.
template <typename Inset>
[[nodiscard]] bool isInRows(const QRectF &rect, const QPointF &point, Inset insetAt)
{
    if (rect.isEmpty() || point.y() < rect.top() || point.y() >= rect.bottom())
        return false;
    const double inset = insetAt(point.y() - rect.top());
    return point.x() >= rect.left() + inset && point.x() < rect.right() - inset;
}

} // namespace vantry
