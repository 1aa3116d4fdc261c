#include "DynamicNotchKit/NotchShadow.h"

#include "drawing/NinePatchNode.h"

#include <QImage>
#include <QQuickWindow>
#include <QtMath>

#include <cmath>
#include <numbers>

namespace vantry {

namespace {

/// What is within border pixels of an edge is as it is at every size; the one pixel between can be stretched.
struct ShadowPicture
{
    QImage image;
    int border { 0 };
};

/// A blurred edge is an integral of the bell curve; around a corner it is taken by the distance to the rounded outline.
ShadowPicture makePicture(double radius, double cornerRadius)
{
    const double corner = cornerRadius + radius / 2; // The blur rounds it, too.
    const int border = qCeil(2 * radius + corner);
    const int side = 2 * border + 1;
    const double deviation = radius / 2;
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            // From the middle of the rounded rectangle's corner circle.
            const double half = side / 2.0 - radius - corner;
            const double across = std::max(0.0, std::abs(x + 0.5 - side / 2.0) - half);
            const double down = std::max(0.0, std::abs(y + 0.5 - side / 2.0) - half);
            const double distance = std::hypot(across, down) - corner;
            const double alpha = 0.5 * std::erfc(distance / (deviation * std::numbers::sqrt2));
            image.setPixel(x, y, qRgba(0, 0, 0, qRound(255 * alpha)));
        }
    }
    return { image, border };
}

} // namespace

NotchShadow::NotchShadow(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void NotchShadow::setRadius(double radius)
{
    if (radius == m_radius)
        return;
    m_radius = radius;
    m_isPictureCurrent = false;
    update();
    Q_EMIT changed();
}

void NotchShadow::setCornerRadius(double radius)
{
    if (radius == m_cornerRadius)
        return;
    m_cornerRadius = radius;
    m_isPictureCurrent = false;
    update();
    Q_EMIT changed();
}

void NotchShadow::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    update();
}

QSGNode *NotchShadow::updatePaintNode(QSGNode *node, UpdatePaintNodeData * /*data*/)
{
    if (!(m_radius > 0) || width() <= 0 || height() <= 0) {
        delete node;
        return nullptr;
    }
    auto *shadow = static_cast<NinePatchNode *>(node);
    if (!shadow)
        shadow = new NinePatchNode(*window(), NinePatchNode::Middle::LeftOut);
    if (!node || !m_isPictureCurrent) {
        const ShadowPicture picture = makePicture(m_radius, m_cornerRadius);
        shadow->setPicture(*window(), picture.image, picture.border);
        m_isPictureCurrent = true;
    }
    shadow->layOut(boundingRect().adjusted(-m_radius, -m_radius, m_radius, m_radius));
    return shadow;
}

} // namespace vantry
