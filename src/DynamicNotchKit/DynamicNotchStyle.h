#pragma once

#include "platform/Screens.h"

namespace vantry {

/// What the surface looks like: a part of the screen's edge, or a pill that floats below it. Radii in logical pixels.
class DynamicNotchStyle
{
public:
    static constexpr double defaultTopCornerRadius = 15;
    static constexpr double defaultBottomCornerRadius = 20;
    static constexpr double defaultFloatingCornerRadius = 20;

    /// The radii are those of the expanded form.
    [[nodiscard]] static DynamicNotchStyle notch(double topCornerRadius = defaultTopCornerRadius,
                                                 double bottomCornerRadius = defaultBottomCornerRadius);
    [[nodiscard]] static DynamicNotchStyle floating(double cornerRadius = defaultFloatingCornerRadius);
    /// As the screen asks for: on one with a notch "notch", on any other "floating".
    [[nodiscard]] static DynamicNotchStyle automatic();

    /// The style on that screen: "notch" or "floating".
    [[nodiscard]] DynamicNotchStyle resolved(const ScreenInfo &screen) const;
    [[nodiscard]] bool isFloating() const { return m_kind == Kind::Floating; }
    [[nodiscard]] bool isNotch() const { return m_kind == Kind::Notch; }
    /// Of a notch, in the expanded form.
    [[nodiscard]] double topCornerRadius() const { return m_topCornerRadius; }
    /// Of a notch in the expanded form, and of all corners of what floats.
    [[nodiscard]] double bottomCornerRadius() const { return m_bottomCornerRadius; }

    friend bool operator==(const DynamicNotchStyle &, const DynamicNotchStyle &) = default;

private:
    enum class Kind { Notch, Floating, Automatic };

    DynamicNotchStyle(Kind kind, double topCornerRadius, double bottomCornerRadius);

    Kind m_kind;
    double m_topCornerRadius;
    double m_bottomCornerRadius;
};

} // namespace vantry
