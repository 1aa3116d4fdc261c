#include "DynamicNotchKit/NotchForm.h"

#include <gtest/gtest.h>

#include <random>

namespace vantry::test {
namespace {

NotchLayout layoutIn(DynamicNotchState state)
{
    return { .state = state,
             .notchSize = { 200, 28 },
             .compactLeadingWidth = 26,
             .compactTrailingWidth = 26,
             .expandedContentSize = { 390, 420 },
             .screenSize = { 1920, 1080 } };
}

TEST(NotchForm, isTheNotchItselfWhenHidden)
{
    const NotchForm form = notchForm(layoutIn(DynamicNotchState::hidden));
    EXPECT_EQ(form.width, 200);
    EXPECT_EQ(form.height, 28);
    EXPECT_EQ(form.topCornerRadius, 6);
    EXPECT_EQ(form.bottomCornerRadius, 14);
    EXPECT_EQ(form.expansion, 0);
    EXPECT_EQ(form.compaction, 0);
}

TEST(NotchForm, isWiderByBothSidesWhenCompact)
{
    const NotchForm form = notchForm(layoutIn(DynamicNotchState::compact));
    EXPECT_EQ(form.width, 252);
    EXPECT_EQ(form.height, 28);
    EXPECT_EQ(form.centerOffset, 0);
    EXPECT_EQ(form.topCornerRadius, 6);
    EXPECT_EQ(form.bottomCornerRadius, 14);
    EXPECT_EQ(form.compaction, 1);
}

TEST(NotchForm, keepsTheNotchInPlaceWhenOneSideIsWider)
{
    NotchLayout layout = layoutIn(DynamicNotchState::compact);
    layout.compactTrailingWidth = 60;
    const NotchForm form = notchForm(layout);
    EXPECT_EQ(form.width, 286);
    EXPECT_EQ(form.centerOffset, 17);
    EXPECT_EQ(form.centerOffset - form.width / 2 + layout.compactLeadingWidth, -100) << "the notch's left edge";
    EXPECT_EQ(form.centerOffset + form.width / 2 - layout.compactTrailingWidth, 100) << "the notch's right edge";
}

TEST(NotchForm, holdsItsContentBelowTheNotchWhenExpanded)
{
    const NotchForm form = notchForm(layoutIn(DynamicNotchState::expanded));
    EXPECT_EQ(form.width, 428);
    EXPECT_EQ(form.height, 28 + 420 + 8);
    EXPECT_EQ(form.topCornerRadius, 15);
    EXPECT_EQ(form.bottomCornerRadius, 20);
    EXPECT_EQ(form.expansion, 1);
}

TEST(NotchForm, hasTheRadiiOfItsStyleOnlyWhenExpanded)
{
    NotchLayout layout = layoutIn(DynamicNotchState::expanded);
    layout.style = DynamicNotchStyle::notch(4, 9);
    EXPECT_EQ(notchForm(layout).topCornerRadius, 4);
    EXPECT_EQ(notchForm(layout).bottomCornerRadius, 9);
    EXPECT_EQ(notchForm(layout).width, 390 + 2 * 8);
    layout.state = DynamicNotchState::compact;
    EXPECT_EQ(notchForm(layout).topCornerRadius, 6);
    EXPECT_EQ(notchForm(layout).bottomCornerRadius, 14);
}

TEST(NotchForm, isNeverNarrowerThanTheNotch)
{
    NotchLayout layout = layoutIn(DynamicNotchState::expanded);
    layout.expandedContentSize = { 20, 20 };
    EXPECT_EQ(notchForm(layout).width, 200);
}

TEST(NotchForm, doesNotGrowPastTheScreen)
{
    NotchLayout layout = layoutIn(DynamicNotchState::expanded);
    layout.screenSize = { 400, 300 };
    EXPECT_EQ(layout.boundedContentSize(), QSizeF(400 - 2 * 19, 300 - 28 - 8));
    EXPECT_EQ(notchForm(layout).width, 400);
    EXPECT_EQ(notchForm(layout).height, 300);
    layout.screenSize = {};
    EXPECT_EQ(layout.boundedContentSize(), QSizeF(0, 0));
}

TEST(NotchForm, dropsFromAboveTheScreenWhenItFloats)
{
    NotchLayout layout = layoutIn(DynamicNotchState::hidden);
    layout.style = DynamicNotchStyle::floating(20);
    NotchForm form = notchForm(layout);
    EXPECT_LE(form.top + form.height + 20, 0) << "with its shadow";
    layout.state = DynamicNotchState::expanded;
    form = notchForm(layout);
    EXPECT_EQ(form.top, 28 + 8);
    EXPECT_EQ(form.width, 390 + 16);
    EXPECT_EQ(form.height, 420 + 16);
    EXPECT_EQ(form.bottomCornerRadius, 20);
}

TEST(NotchForm, fitsIntoItsWindowInEveryState)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> length(0, 900);
    for (int round = 0; round < 500; ++round) {
        NotchLayout layout { .style = round % 2 == 0 ? DynamicNotchStyle::notch() : DynamicNotchStyle::floating(),
                             .notchSize = { length(random), length(random) / 20 },
                             .compactLeadingWidth = length(random) / 10,
                             .compactTrailingWidth = length(random) / 10,
                             .expandedContentSize = { length(random), length(random) },
                             .screenSize = { length(random) * 3, length(random) * 2 } };
        const QSizeF window = neededWindowSize(layout);
        for (const auto state :
             { DynamicNotchState::hidden, DynamicNotchState::compact, DynamicNotchState::expanded }) {
            layout.state = state;
            const NotchForm form = notchForm(layout);
            const double shadow = notchShadow(state, true).radius;
            ASSERT_LE(form.width / 2 + std::abs(form.centerOffset) + shadow, window.width() / 2) << round;
            ASSERT_LE(form.top + form.height + shadow, window.height()) << round;
        }
    }
}

TEST(NotchShadow, isStrongerUnderThePointer)
{
    using enum DynamicNotchState;
    EXPECT_EQ(notchShadow(expanded, false), (NotchShadowLook { 0.5, 10 }));
    EXPECT_EQ(notchShadow(compact, false), (NotchShadowLook { 0, 10 }));
    EXPECT_EQ(notchShadow(hidden, false), (NotchShadowLook { 0, 0 }));
    EXPECT_EQ(notchShadow(expanded, true), (NotchShadowLook { 0.8, 20 }));
    EXPECT_EQ(notchShadow(compact, true), (NotchShadowLook { 0.8, 20 }));
    EXPECT_EQ(notchShadow(hidden, true).radius, 0);
}

} // namespace
} // namespace vantry::test
