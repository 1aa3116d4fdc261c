#include "DynamicNotchKit/NotchShapeItem.h"

#include "DynamicNotchKit/NotchShape.h"

#include <QPainter>

namespace vantry {

NotchShapeItem::NotchShapeItem(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
}

void NotchShapeItem::setTopCornerRadius(double radius)
{
    if (radius == m_topCornerRadius)
        return;
    m_topCornerRadius = radius;
    update();
    Q_EMIT changed();
}

void NotchShapeItem::setBottomCornerRadius(double radius)
{
    if (radius == m_bottomCornerRadius)
        return;
    m_bottomCornerRadius = radius;
    update();
    Q_EMIT changed();
}

void NotchShapeItem::paint(QPainter *painter)
{
    const NotchShape shape { m_topCornerRadius, m_bottomCornerRadius };
    painter->fillPath(shape.path(boundingRect()), Qt::black);
}

} // namespace vantry
