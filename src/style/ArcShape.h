#pragma once

#include "style/PaintedShape.h"

namespace vantry {

/// A quarter of a ring over a faint whole one, for what takes a while.
class ArcShape : public vantry::PaintedShape
{
    Q_OBJECT
    QML_ELEMENT

public:
    using PaintedShape::PaintedShape;

    void paint(QPainter *painter) override;
};

} // namespace vantry
