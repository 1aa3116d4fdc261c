#pragma once

#include "DynamicNotchKit/DynamicNotchState.h"
#include "DynamicNotchKit/DynamicNotchStyle.h"

#include <QSizeF>

#include <array>

namespace vantry {

/// What decides how large the surface is. Lengths in logical pixels.
struct NotchLayout
{
    DynamicNotchState state { DynamicNotchState::hidden };
    DynamicNotchStyle style { DynamicNotchStyle::notch() }; ///< A resolved one.
    QSizeF notchSize {};
    double compactLeadingWidth { 0 };
    double compactTrailingWidth { 0 };
    QSizeF expandedContentSize {};
    QSizeF screenSize {};

    /// What the screen leaves of the expanded content.
    [[nodiscard]] QSizeF boundedContentSize() const;
};

/// The form of the surface, as far as it moves: all of it are numbers that springs can take from one form to another.
struct NotchForm
{
    double centerOffset { 0 }; ///< Of the shape's middle from the screen's.
    double top { 0 };          ///< From the screen's upper edge.
    double width { 0 };
    double height { 0 };
    double topCornerRadius { 0 };
    double bottomCornerRadius { 0 };
    double expansion { 0 };  ///< 1: expanded.
    double compaction { 0 }; ///< 1: compact.

    static constexpr std::array members { &NotchForm::centerOffset,    &NotchForm::top,
                                          &NotchForm::width,           &NotchForm::height,
                                          &NotchForm::topCornerRadius, &NotchForm::bottomCornerRadius,
                                          &NotchForm::expansion,       &NotchForm::compaction };

    friend bool operator==(const NotchForm &, const NotchForm &) = default;
};

/// The shadow of the shape: black of that opacity, which fades out over the radius.
struct NotchShadowLook
{
    double opacity { 0 };
    double radius { 10 };

    friend bool operator==(const NotchShadowLook &, const NotchShadowLook &) = default;
};

/// Between the shape and the expanded content, at the left, the right and the lower side.
[[nodiscard]] double contentSideInset(const DynamicNotchStyle &style);
inline constexpr double contentBottomInset = 8;
/// Between the lower edge of the menu bar and what floats.
inline constexpr double floatingGap = 8;

[[nodiscard]] NotchForm notchForm(const NotchLayout &layout);
/// What a window has to hold so that the surface and its shadow fit in each of their forms.
[[nodiscard]] QSizeF neededWindowSize(NotchLayout layout);
[[nodiscard]] NotchShadowLook notchShadow(DynamicNotchState state, bool isHoveredStronger);

} // namespace vantry
