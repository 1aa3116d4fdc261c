#include "DynamicNotchKit/InfoPainting.h"

#include <QIcon>
#include <QPainter>
#include <QQuickWindow>

namespace vantry {

ProgressRing::ProgressRing(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &ProgressRing::changed, this, [this] { update(); });
}

void ProgressRing::paint(QPainter *painter)
{
    constexpr double thickness = 3;
    constexpr int fullTurn = 360 * 16;
    constexpr int top = 90 * 16;
    const double half = thickness / 2;
    const QRectF ring = boundingRect().adjusted(half, half, -half, -half);
    QColor faint = m_color;
    faint.setAlphaF(faint.alphaF() * 0.3F);
    painter->setPen(QPen(faint, thickness));
    painter->drawEllipse(ring);
    painter->setPen(QPen(m_color, thickness, Qt::SolidLine, Qt::RoundCap));
    painter->drawArc(ring, top, -qRound(fullTurn * m_progress));
}

SystemImage::SystemImage(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    connect(this, &SystemImage::changed, this, [this] { update(); });
}

void SystemImage::paint(QPainter *painter)
{
    const double ratio = window() ? window()->effectiveDevicePixelRatio() : 1;
    QPixmap picture = QIcon::fromTheme(m_name).pixmap(boundingRect().size().toSize(), ratio);
    if (picture.isNull())
        return;
    QPainter tint(&picture);
    tint.setCompositionMode(QPainter::CompositionMode_SourceIn);
    tint.fillRect(picture.rect(), m_color);
    tint.end();
    painter->drawPixmap(boundingRect().topLeft(), picture);
}

} // namespace vantry
