#include "DynamicNotchFixture.h"

#include "DynamicNotchKit/NotchGeometry.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

TEST(NotchGeometry, isTheNotchOfAScreenThatHasOne)
{
    const ScreenInfo screen = screenWithNotch();
    EXPECT_EQ(notchGeometry(screen), QRectF(860, 0, 200, 28));
    EXPECT_EQ(menubarHeight(screen), 28);
}

TEST(NotchGeometry, standsInTheMiddleOfAScreenSomewhereOnTheDesktop)
{
    const ScreenInfo screen = screenWithNotch({ 1920, 200, 1281, 800 });
    EXPECT_EQ(notchGeometry(screen), QRectF(1920 + 640.5 - 100.5, 200, 201, 28));
}

TEST(NotchGeometry, isAsHighAsTheMenuBarElsewhere)
{
    const ScreenInfo screen = screenWithoutNotch();
    EXPECT_EQ(notchGeometry(screen), QRectF(810, 0, 300, 32));
    EXPECT_EQ(menubarHeight(screen), 32);
}

TEST(NotchGeometry, needsBothAreasBesideTheNotch)
{
    ScreenInfo screen = screenWithNotch();
    screen.topRightArea = {};
    EXPECT_EQ(notchGeometry(screen).width(), 300);
    screen = screenWithNotch();
    screen.topInset = 0;
    EXPECT_EQ(notchGeometry(screen).width(), 300);
}

TEST(NotchGeometry, hasNoHeightWithoutANotchAndAMenuBar)
{
    ScreenInfo screen = screenWithoutNotch();
    screen.available = screen.frame;
    EXPECT_EQ(notchGeometry(screen).height(), 0);
    screen.available.moveTop(-20);
    EXPECT_EQ(menubarHeight(screen), 0);
}

TEST(NotchGeometry, makesTheWindowHalfTheScreenAtItsTopCentre)
{
    EXPECT_EQ(notchWindowGeometry(screenWithNotch(), { 480, 500 }), QRect(480, 0, 960, 540));
    EXPECT_EQ(notchWindowGeometry(screenWithNotch({ 1920, 40, 2560, 1400 }), {}), QRect(1920 + 640, 40, 1280, 700));
}

TEST(NotchGeometry, makesTheWindowAsLargeAsWhatItHolds)
{
    EXPECT_EQ(notchWindowGeometry(screenWithNotch({ 0, 0, 800, 600 }), { 494, 504 }), QRect(153, 0, 494, 504));
    EXPECT_EQ(notchWindowGeometry(screenWithNotch({ 0, 0, 320, 200 }), { 494.2, 503.5 }), QRect(-88, 0, 496, 504))
        << "wider than the screen";
}

TEST(NotchGeometry, hasTheMiddleOfTheScreenInTheMiddleOfTheWindow)
{
    for (int width = 1; width < 400; ++width) {
        const ScreenInfo screen = screenWithNotch({ 7, 0, width, 300 });
        const QRect window = notchWindowGeometry(screen, { 101, 50 });
        EXPECT_EQ(2 * window.x() + window.width(), 2 * 7 + width);
        EXPECT_GE(2 * window.width(), width);
    }
}

TEST(NotchGeometry, makesAWindowThatCanBeEvenOfNoScreen)
{
    const QRect window = notchWindowGeometry(ScreenInfo {}, {});
    EXPECT_GE(window.width(), 1);
    EXPECT_GE(window.height(), 1);
    EXPECT_LE(notchWindowGeometry(screenWithNotch(), { 1e9, 1e9 }).width(), 16'385);
}

} // namespace
} // namespace vantry::test
