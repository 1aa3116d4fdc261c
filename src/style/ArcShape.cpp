#include "style/ArcShape.h"

#include <QPainter>

namespace vantry {

void ArcShape::paint(QPainter *painter)
{
    constexpr qreal lineWidth = 1.5;
    constexpr qreal faintOpacity = 0.3;
    constexpr int quarterTurn = 90 * 16;
    const auto area = boundingRect().adjusted(lineWidth, lineWidth, -lineWidth, -lineWidth);

    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(color(), lineWidth, Qt::SolidLine, Qt::RoundCap));
    painter->setOpacity(faintOpacity);
    painter->drawEllipse(area);
    painter->setOpacity(1);
    painter->drawArc(area, quarterTurn - int(angle() * 16), -quarterTurn);
}

} // namespace vantry
