#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// The black shadow around a rounded rectangle, which is the item's own; it is painted beyond the item by its radius,
/// and nothing is painted far inside. Pieces of one small picture, so that it costs the same at every size and needs no
/// shader. Main thread only.
class NotchShadow : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    /// Over how many pixels it fades out.
    Q_PROPERTY(double radius READ radius WRITE setRadius NOTIFY changed)
    Q_PROPERTY(double cornerRadius READ cornerRadius WRITE setCornerRadius NOTIFY changed)

public:
    explicit NotchShadow(QQuickItem *parent = nullptr);

    [[nodiscard]] double radius() const { return m_radius; }
    void setRadius(double radius);
    [[nodiscard]] double cornerRadius() const { return m_cornerRadius; }
    void setCornerRadius(double radius);

Q_SIGNALS:
    void changed();

protected:
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    double m_radius { 10 };
    double m_cornerRadius { 20 };
    bool m_isPictureCurrent { false };
};

} // namespace vantry
