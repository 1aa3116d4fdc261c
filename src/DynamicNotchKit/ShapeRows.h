#pragma once

#include <QRectF>
#include <QRegion>

#include <algorithm>
#include <cmath>
#include <vector>

namespace vantry {

/// The first pixel whose centre is behind the coordinate.
[[nodiscard]] inline int firstPixel(double coordinate)
{
    return static_cast<int>(std::floor(coordinate + 0.5));
}

/// Behind the last pixel whose centre is before the coordinate.
[[nodiscard]] inline int endPixel(double coordinate)
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
    const int end = endPixel(rect.bottom());
    const int straightEnd = endPixel(rect.bottom() - bottomCorner);
    for (int y = firstPixel(rect.top()); y < end;) {
        const double inset = insetAt(y + 0.5 - rect.top());
        const int left = firstPixel(rect.left() + inset);
        const int right = endPixel(rect.right() - inset);
        const bool isStraight = y + 0.5 >= rect.top() + topCorner && y < straightEnd;
        const int height = isStraight ? straightEnd - y : 1;
        if (!rows.empty() && rows.back().left() == left && rows.back().right() + 1 == right)
            rows.back().setBottom(y + height - 1);
        else if (right > left)
            rows.emplace_back(left, y, right - left, height);
        y += height;
    }
    QRegion region;
    region.setRects(rows.data(), static_cast<int>(rows.size()));
    return region;
}

} // namespace vantry
