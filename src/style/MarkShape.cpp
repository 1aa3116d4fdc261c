#include "style/MarkShape.h"

#include "style/SymbolPainter.h"

namespace vantry {

MarkShape::MarkShape(QQuickItem *parent)
    : PaintedShape(parent)
{
    connect(this, &PaintedShape::colorChanged, this, &MarkShape::beadColorChanged);
}

void MarkShape::setBeadColor(const QColor &color)
{
    if (color == m_beadColor)
        return;
    m_beadColor = color;
    update();
    Q_EMIT beadColorChanged();
}

void MarkShape::paint(QPainter *painter)
{
    symbolPainter::paintMark(*painter, boundingRect(), color(), beadColor(), angle());
}

} // namespace vantry
