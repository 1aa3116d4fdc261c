#pragma once

#include <QRectF>
#include <QRegion>

namespace vantry {

/// The outline of a surface that floats: a rounded rectangle. A radius that a rectangle has no room for is made
/// smaller.
struct FloatingShape
{
    double cornerRadius { 0 };

    /// The pixels of the outline: those whose centre is inside of it, row by row.
    [[nodiscard]] QRegion region(const QRectF &rect) const;
};

} // namespace vantry
