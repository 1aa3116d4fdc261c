#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// A ring that closes clockwise from the top. Main thread only.
class ProgressRing : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    /// From 0 to 1.
    Q_PROPERTY(double progress MEMBER m_progress NOTIFY changed)
    Q_PROPERTY(QColor color MEMBER m_color NOTIFY changed)

public:
    explicit ProgressRing(QQuickItem *parent = nullptr);
    void paint(QPainter *painter) override;

Q_SIGNALS:
    void changed();

private:
    double m_progress { 0 };
    QColor m_color { Qt::white };
};

/// A picture of the desktop's icon theme, in one colour; nothing where the theme has none of that name. Main thread
/// only.
class SystemImage : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name MEMBER m_name NOTIFY changed)
    Q_PROPERTY(QColor color MEMBER m_color NOTIFY changed)

public:
    explicit SystemImage(QQuickItem *parent = nullptr);
    void paint(QPainter *painter) override;

Q_SIGNALS:
    void changed();

private:
    QString m_name;
    QColor m_color { Qt::white };
};

} // namespace vantry
