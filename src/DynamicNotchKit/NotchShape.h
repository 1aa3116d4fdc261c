#pragma once

#include <QPainterPath>
#include <QRectF>
#include <QRegion>

namespace vantry {

/// The outline of the notch: its top corners curve outward into the screen's edge, its bottom corners inward. What is
/// drawn and what takes the pointer both come from here. Radii that a rectangle has no room for are made smaller.
struct NotchShape
{
    double topCornerRadius { 0 };
    double bottomCornerRadius { 0 };

    [[nodiscard]] QPainterPath path(const QRectF &rect) const;
    /// The pixels of the outline: those whose centre is inside of it, row by row.
    [[nodiscard]] QRegion region(const QRectF &rect) const;
    /// The shape with radii that fit.
    [[nodiscard]] NotchShape fitting(const QSizeF &size) const;

    friend bool operator==(const NotchShape &, const NotchShape &) = default;
};

} // namespace vantry
