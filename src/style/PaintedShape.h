#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// What the small painted items share: a square of a given size, a colour, an angle, and that they are painted in the
/// pixels of the screen, with the text scale and the display's scale applied. They are decoration: what they mean
/// stands in the accessible name of what they are part of. Main thread only.
class PaintedShape : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ANONYMOUS
    /// Width and height where none are given.
    Q_PROPERTY(qreal size READ size WRITE setSize NOTIFY sizeChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
    /// Degrees, clockwise.
    Q_PROPERTY(qreal angle READ angle WRITE setAngle NOTIFY angleChanged)

public:
    explicit PaintedShape(QQuickItem *parent = nullptr);

    [[nodiscard]] qreal size() const { return m_size; }
    void setSize(qreal size);
    [[nodiscard]] QColor color() const { return m_color; }
    void setColor(const QColor &color);
    [[nodiscard]] qreal angle() const { return m_angle; }
    void setAngle(qreal angle);

Q_SIGNALS:
    void sizeChanged();
    void colorChanged();
    void angleChanged();

protected:
    void componentComplete() override;

private:
    void fitTexture();

    qreal m_size { 0 };
    QColor m_color { Qt::black };
    qreal m_angle { 0 };
};

} // namespace vantry
