#include "style/PaintedShape.h"

#include "style/Appearance.h"

#include <QtMath>

namespace vantry {

PaintedShape::PaintedShape(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &QQuickItem::widthChanged, this, &PaintedShape::fitTexture);
    connect(this, &QQuickItem::heightChanged, this, &PaintedShape::fitTexture);
}

void PaintedShape::setSize(qreal size)
{
    if (size == m_size)
        return;
    m_size = size;
    setImplicitSize(size, size);
    Q_EMIT sizeChanged();
}

void PaintedShape::setColor(const QColor &color)
{
    if (color == m_color)
        return;
    m_color = color;
    update();
    Q_EMIT colorChanged();
}

void PaintedShape::setAngle(qreal angle)
{
    if (angle == m_angle)
        return;
    m_angle = angle;
    update();
    Q_EMIT angleChanged();
}

void PaintedShape::componentComplete()
{
    QQuickPaintedItem::componentComplete();
    fitTexture();
    connect(&Appearance::of(this), &Appearance::changed, this, &PaintedShape::fitTexture);
}

/// The display's scale is the scene graph's business; the text scale is that of the window's root item.
void PaintedShape::fitTexture()
{
    const auto scale = Appearance::of(this).preferences().textScale;
    setContentsScale(scale);
    setTextureSize({ qCeil(width() * scale), qCeil(height() * scale) });
    update();
}

} // namespace vantry
