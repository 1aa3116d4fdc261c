#pragma once

#include <QFont>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// A font with the height of its lines, in logical pixels.
class TextStyle
{
    Q_GADGET
    QML_VALUE_TYPE(textStyle)
    Q_PROPERTY(QFont font READ font CONSTANT)
    Q_PROPERTY(qreal lineHeight READ lineHeight CONSTANT)
    /// What a line has above its text, and below it, when the text alone is less high than the line.
    Q_PROPERTY(qreal leading READ leading CONSTANT)

public:
    TextStyle() = default;
    TextStyle(QFont font, qreal lineHeight);

    [[nodiscard]] const QFont &font() const { return m_font; }
    [[nodiscard]] qreal lineHeight() const { return m_lineHeight; }
    [[nodiscard]] qreal leading() const { return m_leading; }

    friend bool operator==(const TextStyle &, const TextStyle &) = default;

private:
    QFont m_font;
    qreal m_lineHeight { 0 };
    qreal m_leading { 0 };
};

} // namespace vantry
