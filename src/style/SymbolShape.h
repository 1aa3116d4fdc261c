#pragma once

#include "style/PaintedShape.h"

namespace vantry {

/// A symbol of the design by its name, as in "checkmark".
class SymbolShape : public vantry::PaintedShape
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)

public:
    using PaintedShape::PaintedShape;

    [[nodiscard]] QString name() const { return m_name; }
    void setName(const QString &name);

    void paint(QPainter *painter) override;

Q_SIGNALS:
    void nameChanged();

private:
    QString m_name;
};

} // namespace vantry
