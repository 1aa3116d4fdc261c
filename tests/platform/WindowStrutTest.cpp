#include "platform/linux/WindowStrut.h"

#include <gtest/gtest.h>

#include <limits>

namespace vantry {
namespace {

constexpr QRect leftScreen { 0, 0, 1920, 1080 };
constexpr QRect rightScreen { 1920, 0, 1280, 1024 };
constexpr QSize desktop { 3200, 1080 };

constexpr WindowStrut atLeft(std::uint32_t width, std::uint32_t first, std::uint32_t last)
{
    return { width, 0, 0, 0, first, last };
}
constexpr WindowStrut atTop(std::uint32_t height, std::uint32_t first, std::uint32_t last)
{
    return { 0, 0, height, 0, 0, 0, 0, 0, first, last };
}
constexpr WindowStrut atBottom(std::uint32_t height, std::uint32_t first, std::uint32_t last)
{
    return { 0, 0, 0, height, 0, 0, 0, 0, 0, 0, first, last };
}

TEST(WindowStrutTest, leavesAScreenWithoutBars)
{
    EXPECT_EQ(areaWithoutStruts(leftScreen, {}, desktop), leftScreen);
    EXPECT_EQ(areaWithoutStruts(leftScreen, { WindowStrut {} }, desktop), leftScreen);
}

TEST(WindowStrutTest, takesABarFromTheScreenThatItIsOn)
{
    const QList<WindowStrut> struts { atTop(30, 1920, 3199) };

    EXPECT_EQ(areaWithoutStruts(leftScreen, struts, desktop), leftScreen);
    EXPECT_EQ(areaWithoutStruts(rightScreen, struts, desktop), rightScreen.adjusted(0, 30, 0, 0));
}

TEST(WindowStrutTest, countsFromTheEdgeOfTheWholeDesktop)
{
    // The right screen ends 56 pixels above the desktop's edge.
    const QList<WindowStrut> struts { atBottom(86, 1920, 3199) };

    EXPECT_EQ(areaWithoutStruts(rightScreen, struts, desktop), rightScreen.adjusted(0, 0, 0, -30));
}

TEST(WindowStrutTest, leavesAScreenThatABarOfAnotherOneWouldTakeWhole)
{
    // At the left edge of the right screen.
    const QList<WindowStrut> struts { atLeft(1970, 0, 1023) };

    EXPECT_EQ(areaWithoutStruts(leftScreen, struts, desktop), leftScreen);
    EXPECT_EQ(areaWithoutStruts(rightScreen, struts, desktop), rightScreen.adjusted(50, 0, 0, 0));
}

TEST(WindowStrutTest, putsUpWithSeveralBarsAtOneEdge)
{
    const QList<WindowStrut> struts { atTop(30, 0, 1919), atTop(20, 0, 1919), atBottom(40, 100, 200) };

    EXPECT_EQ(areaWithoutStruts(leftScreen, struts, desktop), leftScreen.adjusted(0, 30, 0, -40));
}

TEST(WindowStrutTest, putsUpWithNumbersThatMakeNoSense)
{
    constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
    WindowStrut strut;
    strut.fill(most);

    EXPECT_EQ(areaWithoutStruts(leftScreen, { strut }, desktop), leftScreen);
    EXPECT_EQ(areaWithoutStruts(leftScreen, { atTop(most, 0, most) }, desktop), leftScreen);
}

} // namespace
} // namespace vantry
