#include "notch/NotchFixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry::test {
namespace {

/// Where the notch is, and when nothing of it is on the screen.
class NotchPlaceTest : public NotchFixture
{
protected:
    const ScreenInfo notchedTwo = FakeScreens::notched(u"two"_s, QRect(1920, 0, 2560, 1440));
    const ScreenInfo plainOne = FakeScreens::plain(u"one"_s, QRect(0, 0, 1920, 1080));
    const ScreenInfo plainTwo = FakeScreens::plain(u"two"_s, QRect(1920, 0, 2560, 1440));
};

TEST_F(NotchPlaceTest, theFirstScreenWithANotchHasBothNotchAndCard)
{
    screens.all = { plainOne, notchedTwo };
    make();
    controller->start();
    begin(u"a"_s);
    request(u"a"_s);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact two"_s, u"open a two"_s));
}

TEST_F(NotchPlaceTest, withoutAnyNotchItIsTheFirstScreen)
{
    screens.all = { plainOne, plainTwo };
    make();
    controller->start();
    begin(u"a"_s);
    request(u"a"_s);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s, u"open a one"_s));
}

TEST_F(NotchPlaceTest, aScreenThatGoesTakesBothToTheNextOne)
{
    screens.all = { FakeScreens::notched(u"one"_s, QRect(0, 0, 1920, 1080)), notchedTwo };
    start();
    begin(u"a"_s);
    request(u"a"_s);
    takeJournal();
    screens.set({ notchedTwo });
    EXPECT_THAT(takeJournal(), ElementsAre(u"close at once"_s, u"hide"_s, u"compact two"_s, u"open a two"_s));
    EXPECT_EQ(state(), NotchState::peeking);
    wait(5);
    EXPECT_THAT(takeJournal(), ElementsAre(u"close"_s)) << "the card's time went on";
}

TEST_F(NotchPlaceTest, aScreenThatChangesPlacesBothAnew)
{
    start();
    screens.set({ FakeScreens::notched(u"one"_s, QRect(0, 0, 1280, 800)) });
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s, u"compact one"_s));
}

TEST_F(NotchPlaceTest, anotherScreensChangeMovesNothing)
{
    start();
    const ScreenInfo one = screens.all.first();
    screens.set({ one, plainTwo });
    screens.set({ one });
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchPlaceTest, anExpandedNotchCollapsesWhenItsScreenChanges)
{
    start();
    hover(true);
    takeJournal();
    screens.set({ notchedTwo });
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s, u"compact two"_s));
    EXPECT_EQ(state(), NotchState::compact);
    notch().finish();
    hover(true);
    EXPECT_EQ(state(), NotchState::expanded) << "the pointer counts there";
}

TEST_F(NotchPlaceTest, withoutScreensNothingIsShownUntilOneComes)
{
    screens.all = {};
    make();
    controller->start();
    begin(u"a"_s);
    request(u"a"_s);
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(state(), NotchState::peeking);
    screens.set({ plainOne });
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s, u"open a one"_s));
    screens.set({});
    EXPECT_THAT(takeJournal(), ElementsAre(u"close at once"_s, u"hide"_s));
}

TEST_F(NotchPlaceTest, aLockTakesNotchAndCardFromTheScreenAtOnce)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    takeJournal();
    sessionLock.set(true);
    EXPECT_THAT(takeJournal(), ElementsAre(u"close at once"_s, u"hide"_s));
    EXPECT_EQ(state(), NotchState::peeking) << "its time goes on";
    sessionLock.set(false);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s, u"open a one"_s));
}

TEST_F(NotchPlaceTest, aCardWhoseTimeEndsWhileLockedDoesNotComeBack)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    sessionLock.set(true);
    wait(5);
    EXPECT_EQ(state(), NotchState::compact);
    takeJournal();
    sessionLock.set(false);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    EXPECT_EQ(viewModel().attentionCount(), 1);
}

TEST_F(NotchPlaceTest, anAttentionWhileLockedShowsNothing)
{
    start();
    begin(u"a"_s);
    sessionLock.set(true);
    takeJournal();
    request(u"a"_s);
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(state(), NotchState::peeking);
    EXPECT_TRUE(viewModel().isShowingPeek());
    wait(5);
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(state(), NotchState::compact);
}

TEST_F(NotchPlaceTest, aClickThatTheLockOvertakesAllowsNothing)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    surfaces.panel.shown->allow();
    sessionLock.set(true);
    turn();
    EXPECT_FALSE(takeJournal().contains(u"allow a"_s));
}

TEST_F(NotchPlaceTest, anExpandedNotchIsCompactAfterTheLock)
{
    start();
    hover(true);
    takeJournal();
    sessionLock.set(true);
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s));
    EXPECT_EQ(state(), NotchState::compact);
    wait(1);
    sessionLock.set(false);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
}

TEST_F(NotchPlaceTest, aPointerThatWasAboutToExpandDoesNotDoItWhileLocked)
{
    start();
    hover(true, 0.1);
    sessionLock.set(true);
    wait(1);
    EXPECT_EQ(state(), NotchState::compact);
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s));
}

TEST_F(NotchPlaceTest, startedWhileLockedItShowsWhenTheLockEnds)
{
    sessionLock.locked = true;
    make();
    controller->start();
    EXPECT_THAT(takeJournal(), IsEmpty());
    sessionLock.set(false);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    notch().finish();
    hover(true);
    EXPECT_EQ(state(), NotchState::expanded);
}

TEST_F(NotchPlaceTest, stoppedWhileLockedItStaysAway)
{
    start();
    sessionLock.set(true);
    takeJournal();
    controller->stop();
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s));
    sessionLock.set(false);
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchPlaceTest, aFullScreenWindowOnItsScreenTakesItAway)
{
    start();
    fullScreens.set({ u"one"_s });
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s));
    fullScreens.set({});
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
}

TEST_F(NotchPlaceTest, aFullScreenWindowOnAnotherScreenDoesNot)
{
    screens.all += plainTwo;
    start();
    fullScreens.set({ u"two"_s });
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchPlaceTest, lockAndFullScreenMustBothEnd)
{
    start();
    fullScreens.set({ u"one"_s });
    sessionLock.set(true);
    fullScreens.set({});
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s));
    sessionLock.set(false);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
}

} // namespace
} // namespace vantry::test
