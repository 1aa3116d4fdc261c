#include "DynamicNotchKit/ContentTransition.h"

#include <algorithm>

namespace vantry {

namespace {

/// From 0 to 1 while the value goes from one end to the other.
double ramp(double value, double from, double to)
{
    return std::clamp((value - from) / (to - from), 0.0, 1.0);
}

ContentTransition appearing(double opacity, double smallest)
{
    constexpr double mostBlur = 10;
    const double scale = smallest + (1 - smallest) * opacity;
    return { .opacity = opacity, .blur = { (1 - opacity) * mostBlur }, .scale = { scale, scale, { 0.5, 0 } } };
}

} // namespace

ContentTransition expandedTransition(double expansion)
{
    // Not smaller: text would have to be drawn anew, in letters of another size, for each frame.
    return appearing(ramp(expansion, 0.25, 0.75), 1);
}

ContentTransition compactTransition(double compaction, double expansion)
{
    return appearing(ramp(compaction, 0.3, 0.9) * (1 - ramp(expansion, 0.0, 0.3)), 0.6);
}

} // namespace vantry
