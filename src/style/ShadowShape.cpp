#include "style/ShadowShape.h"

#include "drawing/NinePatchNode.h"
#include "style/ShadowImage.h"

#include <QQuickWindow>

namespace vantry {

ShadowShape::ShadowShape(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void ShadowShape::setElevation(const QString &elevation)
{
    if (elevation == m_elevation)
        return;
    m_elevation = elevation;
    repaint();
}

void ShadowShape::setRadius(qreal radius)
{
    if (radius == m_radius)
        return;
    m_radius = radius;
    repaint();
}

void ShadowShape::setColor(const QColor &color)
{
    if (color == m_color)
        return;
    m_color = color;
    repaint();
}

void ShadowShape::setIsOnDark(bool isOnDark)
{
    if (isOnDark == m_isOnDark)
        return;
    m_isOnDark = isOnDark;
    repaint();
}

qreal ShadowShape::margin() const
{
    return Elevation::named(m_elevation, m_isOnDark).margin();
}

void ShadowShape::repaint()
{
    m_isImageCurrent = false;
    update();
    Q_EMIT changed();
}

void ShadowShape::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
}

QSGNode *ShadowShape::updatePaintNode(QSGNode *node, UpdatePaintNodeData * /*data*/)
{
    const auto elevation = Elevation::named(m_elevation, m_isOnDark);
    if (elevation.opacity <= 0 || width() <= 0 || height() <= 0) {
        delete node;
        return nullptr;
    }
    auto *shadow = static_cast<NinePatchNode *>(node);
    if (!shadow)
        shadow = new NinePatchNode(*window());
    if (!node || !m_isImageCurrent) {
        const ShadowImage picture(elevation, m_radius, m_color);
        shadow->setPicture(*window(), picture.image(), picture.border());
        m_isImageCurrent = true;
    }
    const auto margin = elevation.margin();
    shadow->layOut(boundingRect().adjusted(-margin, -margin, margin, margin));
    return shadow;
}

} // namespace vantry
