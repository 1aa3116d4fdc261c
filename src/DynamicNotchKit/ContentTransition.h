#pragma once

#include <QPointF>

namespace vantry {

/// Reserved: how blurred a content is that comes or goes. Without a graphics card nothing is blurred, it fades alone.
struct BlurModifier
{
    double intensity { 0 };

    friend bool operator==(const BlurModifier &, const BlurModifier &) = default;
};

/// How much smaller a content is drawn that comes or goes.
struct ScaleModifier
{
    double xScale { 1 };
    double yScale { 1 };
    QPointF anchor { 0.5, 0 }; ///< What stays in place, in parts of the content's size.

    friend bool operator==(const ScaleModifier &, const ScaleModifier &) = default;
};

/// How a content looks on its way in or out.
struct ContentTransition
{
    double opacity { 1 };
    BlurModifier blur {};
    ScaleModifier scale {};

    friend bool operator==(const ContentTransition &, const ContentTransition &) = default;
};

/// The expanded content, when the surface is opened so far: from 0 to 1. It is there when the shape has made room.
[[nodiscard]] ContentTransition expandedTransition(double expansion);
/// What stands at the sides of the notch, when the surface is compact so far, and opened so far.
[[nodiscard]] ContentTransition compactTransition(double compaction, double expansion);

} // namespace vantry
