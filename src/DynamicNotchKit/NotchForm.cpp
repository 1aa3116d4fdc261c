#include "DynamicNotchKit/NotchForm.h"

#include <algorithm>

namespace vantry {

namespace {

constexpr double topRadiusOtherwise = 6;
constexpr double bottomRadiusOtherwise = 14;
constexpr double widestShadow = 20;
/// A spring of the strongest damping fraction in use goes beyond its target by a twentieth.
constexpr double overshoot = 1.06;

NotchForm floatingForm(const NotchLayout &layout)
{
    const QSizeF content = layout.boundedContentSize();
    const bool isExpanded = layout.state == DynamicNotchState::expanded;
    NotchForm form;
    form.width = content.width() + 2 * contentSideInset(layout.style);
    form.height = content.height() + 2 * contentBottomInset;
    form.top = isExpanded ? layout.notchSize.height() + floatingGap : -(form.height + widestShadow);
    form.topCornerRadius = layout.style.bottomCornerRadius();
    form.bottomCornerRadius = layout.style.bottomCornerRadius();
    form.expansion = isExpanded ? 1 : 0;
    return form;
}

} // namespace

double contentSideInset(const DynamicNotchStyle &style)
{
    constexpr double besideTheCorner = 4;
    return style.isFloating() ? contentBottomInset : style.topCornerRadius() + besideTheCorner;
}

QSizeF NotchLayout::boundedContentSize() const
{
    const double above = notchSize.height() + (style.isFloating() ? floatingGap + contentBottomInset : 0);
    const QSizeF room(screenSize.width() - 2 * contentSideInset(style),
                      screenSize.height() - above - contentBottomInset);
    return expandedContentSize.boundedTo(room).expandedTo({ 0, 0 });
}

NotchForm notchForm(const NotchLayout &layout)
{
    if (layout.style.isFloating())
        return floatingForm(layout);
    NotchForm form;
    form.width = layout.notchSize.width();
    form.height = layout.notchSize.height();
    form.topCornerRadius = topRadiusOtherwise;
    form.bottomCornerRadius = bottomRadiusOtherwise;
    switch (layout.state) {
    case DynamicNotchState::hidden:
        break;
    case DynamicNotchState::compact:
        form.width += layout.compactLeadingWidth + layout.compactTrailingWidth;
        form.centerOffset = (layout.compactTrailingWidth - layout.compactLeadingWidth) / 2;
        form.compaction = 1;
        break;
    case DynamicNotchState::expanded: {
        const QSizeF content = layout.boundedContentSize();
        form.width = std::max(form.width, content.width() + 2 * contentSideInset(layout.style));
        form.height += content.height() + contentBottomInset;
        form.topCornerRadius = layout.style.topCornerRadius();
        form.bottomCornerRadius = layout.style.bottomCornerRadius();
        form.expansion = 1;
        break;
    }
    }
    return form;
}

QSizeF neededWindowSize(NotchLayout layout)
{
    QSizeF size;
    for (const auto state : { DynamicNotchState::compact, DynamicNotchState::expanded }) {
        layout.state = state;
        const NotchForm form = notchForm(layout);
        const double width = (form.width + 2 * std::abs(form.centerOffset)) * overshoot + 2 * widestShadow;
        const double height = std::max(form.top, 0.0) + form.height * overshoot + widestShadow;
        size = size.expandedTo({ width, height });
    }
    return size;
}

NotchShadowLook notchShadow(DynamicNotchState state, bool isHoveredStronger)
{
    constexpr double ordinaryRadius = 10;
    if (isHoveredStronger)
        return { 0.8, state == DynamicNotchState::hidden ? 0 : widestShadow };
    return { state == DynamicNotchState::expanded ? 0.5 : 0.0,
             state == DynamicNotchState::hidden ? 0 : ordinaryRadius };
}

} // namespace vantry
