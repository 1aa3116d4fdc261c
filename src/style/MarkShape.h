#pragma once

#include "style/PaintedShape.h"

namespace vantry {

/// The program's mark: a ring with a gap, and a bead in it.
class MarkShape : public vantry::PaintedShape
{
    Q_OBJECT
    QML_ELEMENT
    /// The ring's colour until it is set.
    Q_PROPERTY(QColor beadColor READ beadColor WRITE setBeadColor NOTIFY beadColorChanged)

public:
    explicit MarkShape(QQuickItem *parent = nullptr);

    [[nodiscard]] QColor beadColor() const { return m_beadColor.isValid() ? m_beadColor : color(); }
    void setBeadColor(const QColor &color);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void beadColorChanged();

private:
    QColor m_beadColor;
};

} // namespace vantry
