#include "platform/linux/WindowStack.h"

#include <gtest/gtest.h>

namespace vantry {
namespace {

constexpr QRect screen { 0, 0, 1920, 1080 };
constexpr QRect otherScreen { 1920, 0, 1280, 1024 };
constexpr StackedWindow movie { .frame = screen, .isFullScreen = true };
constexpr StackedWindow terminal { .frame = QRect(100, 100, 800, 600) };
constexpr StackedWindow lockScreen { .frame = QRect(0, 0, 3200, 1080), .isBare = true, .isBeside = true };

TEST(WindowStackTest, isNotCoveredByNothing)
{
    EXPECT_FALSE(isCoveredInFront(screen, {}));
}

TEST(WindowStackTest, isCoveredByAFullScreenWindowInFront)
{
    EXPECT_TRUE(isCoveredInFront(screen, { movie }));
    EXPECT_TRUE(isCoveredInFront(screen, { movie, terminal }));
}

TEST(WindowStackTest, isNotCoveredByAFullScreenWindowBehindAnother)
{
    EXPECT_FALSE(isCoveredInFront(screen, { terminal, movie }));
}

TEST(WindowStackTest, isNotCoveredOnAnotherScreen)
{
    EXPECT_FALSE(isCoveredInFront(otherScreen, { movie }));
    StackedWindow there = terminal;
    there.frame.moveLeft(2000);
    EXPECT_TRUE(isCoveredInFront(screen, { there, movie })) << "what is in front there is not in front here";
}

TEST(WindowStackTest, isCoveredByAWindowOverSeveralScreens)
{
    const StackedWindow wide { .frame = QRect(0, 0, 3200, 1080), .isFullScreen = true };

    EXPECT_TRUE(isCoveredInFront(screen, { wide }));
    EXPECT_TRUE(isCoveredInFront(otherScreen, { wide }));
}

TEST(WindowStackTest, looksPastDialogsAndBars)
{
    StackedWindow dialog = terminal;
    dialog.isBeside = true;

    EXPECT_TRUE(isCoveredInFront(screen, { dialog, movie }));
    EXPECT_FALSE(isCoveredInFront(screen, { dialog, terminal }));
}

TEST(WindowStackTest, isCoveredByABareWindowOnlyIfThatLeavesNothing)
{
    StackedWindow bare { .frame = screen, .isBare = true };
    EXPECT_TRUE(isCoveredInFront(screen, { bare }));

    bare.frame.adjust(0, 24, 0, 0);
    EXPECT_FALSE(isCoveredInFront(screen, { bare }));
    EXPECT_FALSE(isCoveredInFront(screen, { { .frame = screen } })) << "a maximized one, or one that tiles";
}

TEST(WindowStackTest, isCoveredByALockScreenOverEverything)
{
    EXPECT_TRUE(isCoveredInFront(screen, { lockScreen, terminal }));
    EXPECT_TRUE(isCoveredInFront(otherScreen, { lockScreen, terminal }));
}

TEST(WindowStackTest, takesAFullScreenWindowForOneWhateverItsSize)
{
    EXPECT_TRUE(isCoveredInFront(screen, { { .frame = QRect(0, 27, 1920, 1053), .isFullScreen = true } }));
    EXPECT_FALSE(isCoveredInFront(screen, { { .frame = {}, .isFullScreen = true } }));
}

} // namespace
} // namespace vantry
