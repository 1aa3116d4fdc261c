#include "DynamicNotchKit/FloatingShape.h"

#include "DynamicNotchKit/ShapeRows.h"

namespace vantry {

namespace {

double fittingRadius(double radius, const QSizeF &size)
{
    return std::max(0.0, std::min({ radius, size.width() / 2, size.height() / 2 }));
}

/// How far the outline is from the rectangle's left edge, and from its right one, at a height.
double insetAt(double y, double height, double radius)
{
    const double beyond = radius - std::min(y, height - y);
    return beyond > 0 ? radius - std::sqrt(std::max(0.0, radius * radius - beyond * beyond)) : 0;
}

} // namespace

QRegion FloatingShape::region(const QRectF &rect) const
{
    const double radius = fittingRadius(cornerRadius, rect.size());
    return regionOfRows(rect, radius, radius, [&](double y) { return insetAt(y, rect.height(), radius); });
}

} // namespace vantry
