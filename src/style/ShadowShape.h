#pragma once

#include <QColor>
#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// The soft shadow around a rounded rectangle, which is the item's own; it is painted beyond the item by margin on each
/// side. Nine pieces of one small picture, so that it costs the same at every size and needs no shader. Main thread
/// only.
class ShadowShape : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    /// "flat", "menu" or "panel".
    Q_PROPERTY(QString elevation READ elevation WRITE setElevation NOTIFY changed)
    Q_PROPERTY(qreal radius READ radius WRITE setRadius NOTIFY changed)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY changed)
    /// Whether it lies on dark ground, where a shadow is stronger.
    Q_PROPERTY(bool isOnDark READ isOnDark WRITE setIsOnDark NOTIFY changed)
    /// How far the shadow reaches beyond the item.
    Q_PROPERTY(qreal margin READ margin NOTIFY changed)

public:
    explicit ShadowShape(QQuickItem *parent = nullptr);

    [[nodiscard]] QString elevation() const { return m_elevation; }
    void setElevation(const QString &elevation);
    [[nodiscard]] qreal radius() const { return m_radius; }
    void setRadius(qreal radius);
    [[nodiscard]] QColor color() const { return m_color; }
    void setColor(const QColor &color);
    [[nodiscard]] bool isOnDark() const { return m_isOnDark; }
    void setIsOnDark(bool isOnDark);
    [[nodiscard]] qreal margin() const;

Q_SIGNALS:
    void changed();

protected:
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    void repaint();

    QString m_elevation { QStringLiteral("flat") };
    qreal m_radius { 0 };
    QColor m_color { Qt::black };
    bool m_isOnDark { false };
    bool m_isImageCurrent { false };
};

} // namespace vantry
