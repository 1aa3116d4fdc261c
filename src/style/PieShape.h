#pragma once

#include "style/PaintedShape.h"

namespace vantry {

/// A ring that is filled, from its top clockwise, by how much of something is used.
class PieShape : public vantry::PaintedShape
{
    Q_OBJECT
    QML_ELEMENT
    /// In percent; what is beyond counts as the end that it is beyond.
    Q_PROPERTY(qreal used READ used WRITE setUsed NOTIFY usedChanged)

public:
    using PaintedShape::PaintedShape;

    [[nodiscard]] qreal used() const { return m_used; }
    void setUsed(qreal used);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void usedChanged();

private:
    qreal m_used { 0 };
};

} // namespace vantry
