#pragma once

namespace vantry {

/// What the pointer over the surface does, beside being told: an option set, as a number of bits.
struct DynamicNotchHoverBehavior
{
    int rawValue { increasesShadow };

    static constexpr int keepsVisible = 1;        ///< Hiding waits until the pointer has left.
    static constexpr int givesHapticFeedback = 2; ///< Where there is a device that can.
    static constexpr int increasesShadow = 4;     ///< The default.
    static constexpr int all = keepsVisible | givesHapticFeedback | increasesShadow;

    [[nodiscard]] constexpr bool contains(int bit) const { return (rawValue & bit) != 0; }

    friend bool operator==(const DynamicNotchHoverBehavior &, const DynamicNotchHoverBehavior &) = default;
};

} // namespace vantry
