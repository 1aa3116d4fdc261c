#include "style/PieShape.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace vantry {

void PieShape::setUsed(qreal used)
{
    if (used == m_used)
        return;
    m_used = used;
    update();
    Q_EMIT usedChanged();
}

void PieShape::paint(QPainter *painter)
{
    constexpr qreal ringWidth = 1;
    constexpr qreal gap = 1;
    constexpr int fullTurn = 360 * 16;
    constexpr int top = 90 * 16;
    const auto inset = [this](qreal by) { return boundingRect().adjusted(by, by, -by, -by); };
    const auto share = std::isfinite(m_used) ? std::clamp(m_used, 0.0, 100.0) / 100 : 0.0;

    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(color(), ringWidth));
    painter->drawEllipse(inset(ringWidth / 2));
    painter->setPen(Qt::NoPen);
    painter->setBrush(color());
    painter->drawPie(inset(ringWidth + gap), top, -int(share * fullTurn));
}

} // namespace vantry
