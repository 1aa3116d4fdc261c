#include "platform/linux/LinuxScreens.h"

#include "support/FakeOverlayWindows.h"
#include "support/ManualScheduler.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The one screen that the toolkit has when it draws into memory, with bars that a test makes up.
class LinuxScreensTest : public ::testing::Test
{
protected:
    LinuxScreensTest()
    {
        screens.onChanged = [this] { ++changes; };
    }

    FakeOverlayWindows overlays;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    LinuxScreens screens { overlays, scheduler };
    int changes { 0 };
};

TEST_F(LinuxScreensTest, haveAVirtualNotchAtFirst)
{
    const QList<ScreenInfo> all = screens.screens();

    ASSERT_EQ(all.size(), 1);
    EXPECT_EQ(all.first().name, QGuiApplication::primaryScreen()->name());
    EXPECT_EQ(all.first().topInset, 28);
    EXPECT_FALSE(all.first().hasRealNotch);
}

TEST_F(LinuxScreensTest, haveNoneWhenNoneIsWanted)
{
    screens.setHasVirtualNotch(false);

    const ScreenInfo screen = screens.screens().first();
    const QRect whole = QGuiApplication::primaryScreen()->geometry();
    EXPECT_EQ(screen.topInset, 0);
    EXPECT_EQ(screen.frame, whole);
    EXPECT_EQ(screen.available, overlays.availableArea(*QGuiApplication::primaryScreen()));
    EXPECT_TRUE(screen.topLeftArea.isEmpty());
    EXPECT_TRUE(screen.topRightArea.isEmpty());
}

TEST_F(LinuxScreensTest, tellOnceOfWhatComesTogether)
{
    screens.setHasVirtualNotch(false);
    screens.setHasVirtualNotch(false);
    EXPECT_EQ(changes, 0);

    scheduler.advance(0ms);
    EXPECT_EQ(changes, 1);
    scheduler.advance(1s);
    EXPECT_EQ(changes, 1);
}

TEST_F(LinuxScreensTest, tellNobodyOfWhatIsAsBefore)
{
    screens.setHasVirtualNotch(false);
    screens.setHasVirtualNotch(true);
    scheduler.advance(1s);

    EXPECT_EQ(changes, 0);
}

TEST_F(LinuxScreensTest, tellOfNothingWithoutAnObserver)
{
    screens.onChanged = {};
    screens.setHasVirtualNotch(false);

    scheduler.advance(1s);
}

TEST(VirtualNotchTest, isInTheMiddleOfWhatBarsLeave)
{
    const QRect frame(1920, 0, 1920, 1080);
    const QRect available = frame.adjusted(40, 30, 0, 0);

    const ScreenInfo screen = LinuxScreens::withVirtualNotch(u"one"_s, frame, available);

    EXPECT_EQ(screen.frame, available);
    EXPECT_EQ(screen.available, available.adjusted(0, 28, 0, 0));
    EXPECT_EQ(screen.topInset, 28);
    EXPECT_EQ(screen.topLeftArea, QRect(1960, 30, 840, 28));
    EXPECT_EQ(screen.topRightArea, QRect(3000, 30, 840, 28));
}

TEST(VirtualNotchTest, isAsWideOnAScreenOfOddWidth)
{
    const QRect frame(0, 0, 1367, 768);

    const ScreenInfo screen = LinuxScreens::withVirtualNotch(u"one"_s, frame, frame);

    EXPECT_EQ(frame.width() - screen.topLeftArea.width() - screen.topRightArea.width(), 200);
    EXPECT_EQ(screen.topRightArea.right(), frame.right());
}

TEST(VirtualNotchTest, isNotThereWithoutRoom)
{
    for (const QSize size : { QSize(200, 600), QSize(201, 600), QSize(600, 28), QSize(0, 0) }) {
        const QRect available(QPoint(), size);
        const ScreenInfo screen = LinuxScreens::withVirtualNotch(u"one"_s, QRect(0, 0, 700, 700), available);

        EXPECT_EQ(screen.topInset, 0) << size.width();
        EXPECT_EQ(screen.frame, QRect(0, 0, 700, 700));
        EXPECT_EQ(screen.available, available);
    }
}

} // namespace
} // namespace vantry::test
