#pragma once

#include <QColor>
#include <QImage>

namespace vantry {

/// A shadow as the design tells it.
struct Elevation
{
    qreal y { 0 };       ///< How far the shadow lies below what casts it.
    qreal blur { 0 };    ///< Over how many pixels it fades out.
    qreal opacity { 0 }; ///< Where it is strongest.

    /// "flat", "menu" or "panel"; an unknown one is flat.
    [[nodiscard]] static Elevation named(const QString &name, bool isOnDark);

    /// How far it reaches beyond what casts it, on the side where it reaches farthest.
    [[nodiscard]] qreal margin() const { return y + blur; }

    friend bool operator==(const Elevation &, const Elevation &) = default;
};

/// The shadow of a rounded rectangle, as small as it can be: what is within border() of an edge is as it is for every
/// size, the one pixel between can be stretched.
class ShadowImage
{
public:
    ShadowImage(const Elevation &elevation, qreal radius, const QColor &color);

    [[nodiscard]] const QImage &image() const { return m_image; }
    [[nodiscard]] int border() const { return m_border; }

private:
    int m_border;
    QImage m_image;
};

} // namespace vantry
