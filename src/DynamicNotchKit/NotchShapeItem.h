#pragma once

#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// The notch, in black, as large as the item. Main thread only.
class NotchShapeItem : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(double topCornerRadius READ topCornerRadius WRITE setTopCornerRadius NOTIFY changed)
    Q_PROPERTY(double bottomCornerRadius READ bottomCornerRadius WRITE setBottomCornerRadius NOTIFY changed)

public:
    explicit NotchShapeItem(QQuickItem *parent = nullptr);

    [[nodiscard]] double topCornerRadius() const { return m_topCornerRadius; }
    void setTopCornerRadius(double radius);
    [[nodiscard]] double bottomCornerRadius() const { return m_bottomCornerRadius; }
    void setBottomCornerRadius(double radius);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void changed();

private:
    double m_topCornerRadius { 0 };
    double m_bottomCornerRadius { 0 };
};

} // namespace vantry
