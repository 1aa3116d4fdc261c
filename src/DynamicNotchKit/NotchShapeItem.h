#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// The notch, in black, as large as the item, which stands on whole pixels of the display. It is put together from
/// plain rectangles and small pictures of its corners, so that changing its size costs no memory and little time. Main
/// thread only.
class NotchShapeItem : public QQuickItem
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

Q_SIGNALS:
    void changed();

protected:
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    double m_topCornerRadius { 0 };
    double m_bottomCornerRadius { 0 };
};

} // namespace vantry
