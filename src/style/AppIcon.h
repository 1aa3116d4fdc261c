#pragma once

#include "style/PaintedShape.h"

namespace vantry {

/// The program's icon, in its own colours.
class AppIcon : public vantry::PaintedShape
{
    Q_OBJECT
    QML_ELEMENT

public:
    using PaintedShape::PaintedShape;

    void paint(QPainter *painter) override;
};

} // namespace vantry
