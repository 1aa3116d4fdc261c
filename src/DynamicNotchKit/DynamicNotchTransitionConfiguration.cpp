#include "DynamicNotchKit/DynamicNotchTransitionConfiguration.h"

namespace vantry {

SpringAnimation DynamicNotchTransitionConfiguration::opening(const DynamicNotchStyle &resolvedStyle) const
{
    return openingAnimation.value_or(SpringAnimation { 0.4, resolvedStyle.isNotch() ? 0.7 : 0.85 });
}

SpringAnimation DynamicNotchTransitionConfiguration::closing() const
{
    return closingAnimation.value_or(SpringAnimation { 0.4, 1.0 });
}

SpringAnimation DynamicNotchTransitionConfiguration::conversion() const
{
    return conversionAnimation.value_or(SpringAnimation { 0.4, 0.85 });
}

} // namespace vantry
