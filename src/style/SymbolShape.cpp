#include "style/SymbolShape.h"

#include "style/SymbolPainter.h"

namespace vantry {

void SymbolShape::setName(const QString &name)
{
    if (name == m_name)
        return;
    m_name = name;
    update();
    Q_EMIT nameChanged();
}

void SymbolShape::paint(QPainter *painter)
{
    symbolPainter::paint(*painter, m_name, boundingRect(), color(), angle());
}

} // namespace vantry
