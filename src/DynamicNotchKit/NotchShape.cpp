#include "DynamicNotchKit/NotchShape.h"

#include "DynamicNotchKit/ShapeRows.h"

namespace vantry {

namespace {

/// How far the outline is from the rectangle's left edge, and from its right one, at a height. The radii fit.
double insetAt(double y, double height, const NotchShape &shape)
{
    const auto [t, b] = shape;
    if (y < t) {
        // The curve is (t * (2 * s - s * s), t * s * s), for s from 0 to 1.
        const double s = std::sqrt(std::max(y, 0.0) / t);
        return t * (2 * s - s * s);
    }
    if (y > height - b) {
        // The curve is (t + b * s * s, height - b + b * (2 * s - s * s)).
        const double s = 1 - std::sqrt(std::max(height - y, 0.0) / b);
        return t + b * s * s;
    }
    return t;
}

} // namespace

NotchShape NotchShape::fitting(const QSizeF &size) const
{
    const double top = std::max(topCornerRadius, 0.0);
    const double bottom = std::max(bottomCornerRadius, 0.0);
    const double sum = top + bottom;
    if (!(sum > 0))
        return {};
    // They stand side by side at each side of the shape, and one above the other.
    const double room = std::max(0.0, std::min(size.width() / 2, size.height()));
    const double factor = std::min(1.0, room / sum);
    return { top * factor, bottom * factor };
}

QPainterPath NotchShape::path(const QRectF &rect) const
{
    const auto [t, b] = fitting(rect.size());
    const double minX = rect.left();
    const double maxX = rect.right();
    const double minY = rect.top();
    const double maxY = rect.bottom();
    QPainterPath path;
    if (rect.isEmpty())
        return path;
    path.moveTo(minX, minY);
    path.quadTo(minX + t, minY, minX + t, minY + t);
    path.lineTo(minX + t, maxY - b);
    path.quadTo(minX + t, maxY, minX + t + b, maxY);
    path.lineTo(maxX - t - b, maxY);
    path.quadTo(maxX - t, maxY, maxX - t, maxY - b);
    path.lineTo(maxX - t, minY + t);
    path.quadTo(maxX - t, minY, maxX, minY);
    path.lineTo(minX, minY);
    return path;
}

QRegion NotchShape::region(const QRectF &rect) const
{
    const NotchShape shape = fitting(rect.size());
    return regionOfRows(rect, shape.topCornerRadius, shape.bottomCornerRadius,
                        [&](double y) { return insetAt(y, rect.height(), shape); });
}

} // namespace vantry
