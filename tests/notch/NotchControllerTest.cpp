#include "notch/NotchFixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry::test {
namespace {

using NotchControllerTest = NotchFixture;

TEST_F(NotchControllerTest, isHiddenUntilItIsStarted)
{
    make();
    EXPECT_EQ(state(), NotchState::hidden);
    EXPECT_EQ(surfaces.made, 0);
    begin(u"a"_s);
    request(u"a"_s);
    EXPECT_EQ(state(), NotchState::hidden) << "an attention before the start is dropped";
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchControllerTest, startsCompactOnce)
{
    make();
    controller->start();
    controller->start();
    EXPECT_EQ(surfaces.made, 1);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    EXPECT_EQ(state(), NotchState::compact);
}

TEST_F(NotchControllerTest, thePointerCountsFromTheFirstAnimationsEndOn)
{
    make();
    controller->start();
    hover(true);
    EXPECT_EQ(state(), NotchState::compact);
    notch().finish();
    wait(0.149);
    EXPECT_EQ(state(), NotchState::compact);
    wait(0.001);
    EXPECT_EQ(state(), NotchState::expanded) << "it was there already";
}

TEST_F(NotchControllerTest, thePointerExpandsAfterAMomentAndTakesTheKeyboardWhenItIsOpen)
{
    start();
    hover(true, 0.149);
    EXPECT_THAT(takeJournal(), IsEmpty());
    wait(0.001);
    EXPECT_THAT(takeJournal(), ElementsAre(u"expand one"_s));
    notch().finish();
    EXPECT_THAT(takeJournal(), ElementsAre(u"key"_s));
    hover(false);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    EXPECT_EQ(state(), NotchState::compact);
}

TEST_F(NotchControllerTest, anExpansionThatWasOvertakenTakesNoKeyboard)
{
    start();
    hover(true);
    hover(false);
    notch().finish();
    EXPECT_THAT(takeJournal(), ElementsAre(u"expand one"_s, u"compact one"_s));
}

TEST_F(NotchControllerTest, aPointerThatPassesByExpandsNothing)
{
    start();
    hover(true, 0.1);
    hover(false, 1);
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchControllerTest, outAndInAgainWithinAMomentDoesNotCollapse)
{
    start();
    hover(true);
    takeJournal();
    hover(false, 0.1);
    hover(true, 1);
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(state(), NotchState::expanded);
}

TEST_F(NotchControllerTest, aPointerThatNeverRestsChangesNothing)
{
    start();
    for (int i = 0; i < 1000; ++i)
        hover(i % 2 == 0, 0.01);
    EXPECT_THAT(takeJournal(), IsEmpty());
    wait(1);
    EXPECT_EQ(state(), NotchState::compact);
}

TEST_F(NotchControllerTest, anAttentionRaisesTheCardForFiveSeconds)
{
    start();
    begin(u"a"_s);
    const auto a = request(u"a"_s);
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s));
    EXPECT_EQ(state(), NotchState::peeking);
    EXPECT_EQ(viewModel().peekSession(), a);
    EXPECT_EQ(viewModel().peekMessage(), u"app  Needs permission: Bash"_s);
    wait(4.999);
    EXPECT_EQ(state(), NotchState::peeking);
    wait(0.001);
    EXPECT_EQ(state(), NotchState::compact);
    EXPECT_THAT(takeJournal(), ElementsAre(u"close"_s));
    EXPECT_FALSE(viewModel().isShowingPeek());
    EXPECT_EQ(viewModel().attentionCount(), 1) << "it still waits";
}

TEST_F(NotchControllerTest, aSessionThatDoesNotWaitRaisesNothing)
{
    start();
    const auto a = begin(u"a"_s);
    for (const auto other : { SessionState::launching, SessionState::working, SessionState::ready }) {
        a->setState(other);
        controller->sessionNeedsAttention(a);
    }
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_FALSE(viewModel().isShowingPeek());
}

TEST_F(NotchControllerTest, aNewAttentionReplacesTheCardAndStartsTheTimeAnew)
{
    start();
    begin(u"a"_s, u"/home/u/a"_s);
    begin(u"b"_s, u"/home/u/b"_s);
    request(u"a"_s);
    wait(3);
    request(u"b"_s);
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s, u"close"_s, u"open b one"_s));
    wait(3);
    EXPECT_EQ(state(), NotchState::peeking);
    EXPECT_TRUE(viewModel().isShowingPeek());
    wait(2);
    EXPECT_EQ(state(), NotchState::compact);
    EXPECT_FALSE(viewModel().isShowingPeek());
}

TEST_F(NotchControllerTest, anAttentionWhileExpandedShowsNoCardThenOrLater)
{
    start();
    hover(true);
    takeJournal();
    const auto a = begin(u"a"_s);
    a->setState(SessionState::hasQuestion);
    const auto timers = scheduler.activeTimers();
    controller->sessionNeedsAttention(a);
    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(scheduler.activeTimers(), timers);
    EXPECT_EQ(viewModel().peekSession(), nullptr);
    hover(false);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    wait(10);
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchControllerTest, thePointerWinsOverTheCard)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    wait(4.9);
    hover(true, 0.15);
    // The time was over before the pointer had rested.
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s, u"close"_s, u"expand one"_s));
    hover(false);
    request(u"a"_s);
    takeJournal();
    hover(true);
    EXPECT_THAT(takeJournal(), ElementsAre(u"close"_s, u"expand one"_s));
    EXPECT_FALSE(viewModel().isShowingPeek());
    wait(10);
    EXPECT_EQ(state(), NotchState::expanded) << "the card's time is no more";
}

TEST_F(NotchControllerTest, leavingDuringAPeekDoesNothing)
{
    start();
    begin(u"a"_s);
    hover(true, 0.1);
    request(u"a"_s);
    hover(false, 1);
    EXPECT_EQ(state(), NotchState::peeking);
}

TEST_F(NotchControllerTest, aCardOutlivesItsReasonUntilItsTimeIsOver)
{
    start();
    begin(u"a"_s);
    const auto a = request(u"a"_s);
    takeJournal();
    wait(1);
    send(EventBuilder(HookEventType::postToolUse).session(u"a"_s).tool(u"Bash"_s));
    held.dismissAll(u"a"_s);
    a->setState(SessionState::working);
    controller->sessionsDidChange();
    EXPECT_EQ(viewModel().peekMessage(), std::nullopt) << "at once";
    ASSERT_TRUE(surfaces.panel.shown);
    EXPECT_FALSE(surfaces.panel.shown->canAllow());
    EXPECT_EQ(state(), NotchState::peeking);
    wait(3.999);
    EXPECT_THAT(takeJournal(), IsEmpty());
    wait(0.001);
    EXPECT_THAT(takeJournal(), ElementsAre(u"close"_s));
    EXPECT_EQ(state(), NotchState::compact);
}

TEST_F(NotchControllerTest, aTapFocusesTheTerminalAndClosesTheCard)
{
    start();
    const auto a = begin(u"a"_s);
    a->setState(SessionState::hasQuestion);
    controller->sessionNeedsAttention(a);
    surfaces.panel.shown->tap();
    EXPECT_EQ(state(), NotchState::peeking) << "the card still handles the click";
    turn();
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s, u"focus a"_s, u"close"_s));
    EXPECT_EQ(state(), NotchState::compact);
    EXPECT_FALSE(viewModel().isShowingPeek());
}

TEST_F(NotchControllerTest, allowOnTheCardAnswersTheHeldRequest)
{
    start();
    begin(u"a"_s);
    const auto a = request(u"a"_s);
    surfaces.panel.shown->allow();
    turn();
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s, u"allow a"_s, u"close"_s));
    EXPECT_EQ(state(), NotchState::compact);
    EXPECT_EQ(held.firstHeld(u"a"_s), nullptr);
    EXPECT_EQ(viewModel().attentionCount(), 0) << "no stale sign is left";
    EXPECT_FALSE(viewModel().isShowingPeek());
}

TEST_F(NotchControllerTest, aDoubleClickAllowsOnce)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    const auto card = surfaces.panel.shown;
    card->allow();
    card->allow();
    turn();
    card->allow();
    turn();
    EXPECT_EQ(takeJournal().count(u"allow a"_s), 1);
}

TEST_F(NotchControllerTest, aSecondRequestIsNotAllowedByAClickMeantForTheFirst)
{
    start();
    begin(u"a"_s);
    request(u"a"_s, u"Read"_s, u"one"_s);
    request(u"a"_s, u"Bash"_s, u"two"_s);
    takeJournal();
    const auto card = surfaces.panel.shown;
    EXPECT_EQ(card->status(), u"Needs permission: Read"_s) << "what Allow would answer";
    card->allow();
    // Before the click is taken, the first one is answered elsewhere.
    const PendingPermission *first = held.firstHeld(u"a"_s);
    held.resolve(QUuid(first->id), PermissionDecision::deny);
    mainQueue.drain();
    EXPECT_FALSE(takeJournal().contains(u"allow a"_s)) << "nobody has seen the second one";
    turn();
    EXPECT_EQ(card->status(), u"Needs permission: Bash"_s);
    card->allow();
    turn();
    EXPECT_TRUE(takeJournal().contains(u"allow a"_s));
}

TEST_F(NotchControllerTest, theCardOfWhatIsAskedNextIsNotClosedByTheAnswerBefore)
{
    start();
    begin(u"a"_s, u"/home/u/a"_s);
    const auto b = begin(u"b"_s, u"/home/u/b"_s);
    request(u"a"_s);
    onAnswer = [this, b] {
        b->setState(SessionState::hasQuestion);
        controller->sessionNeedsAttention(b);
    };
    surfaces.panel.shown->allow();
    turn();
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s, u"allow a"_s, u"close"_s, u"open b one"_s));
    EXPECT_EQ(state(), NotchState::peeking);
    EXPECT_EQ(viewModel().peekSession(), b);
}

TEST_F(NotchControllerTest, stoppingWhileAnAnswerIsCarriedOutIsFine)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    onAnswer = [this] { controller->stop(); };
    surfaces.panel.shown->allow();
    turn();
    EXPECT_EQ(state(), NotchState::hidden);
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s, u"allow a"_s, u"close"_s, u"hide"_s));
}

TEST_F(NotchControllerTest, goingWhileAnAnswerIsCarriedOutIsFine)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    onAnswer = [this] { controller.reset(); };
    surfaces.panel.shown->tap();
    turn();
    EXPECT_THAT(takeJournal(), ElementsAre(u"open a one"_s, u"focus a"_s, u"close"_s, u"hide"_s));
}

TEST_F(NotchControllerTest, aClickOnACardThatFadesOutDoesNothing)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    const auto card = surfaces.panel.shown;
    wait(5);
    takeJournal();
    card->allow();
    card->tap();
    turn();
    EXPECT_THAT(takeJournal(), IsEmpty());
    controller.reset();
    card->allow();
    turn();
}

TEST_F(NotchControllerTest, anAllowInThePanelLeavesNoStaleSign)
{
    start();
    begin(u"a"_s);
    const auto a = request(u"a"_s);
    wait(6);
    EXPECT_EQ(viewModel().glyph(), NotchViewModel::Permission);
    manager.answered(a, SessionState::working);
    turn();
    EXPECT_EQ(viewModel().glyph(), NotchViewModel::Permission) << "another request is held, as before";
    held.dismissAll(u"a"_s);
    manager.answered(a, SessionState::working);
    turn();
    EXPECT_EQ(viewModel().glyph(), NotchViewModel::Working);
}

TEST_F(NotchControllerTest, aKilledSessionLeavesNoStaleSign)
{
    start();
    begin(u"a"_s, u"/home/u/a"_s);
    begin(u"b"_s, u"/home/u/b"_s);
    const auto a = request(u"a"_s);
    manager.killSession(a);
    turn();
    EXPECT_EQ(viewModel().attentionCount(), 0);
    EXPECT_FALSE(viewModel().isShowingPeek());
    EXPECT_EQ(state(), NotchState::peeking) << "the card stays for its time";
    ASSERT_TRUE(surfaces.panel.shown);
    EXPECT_FALSE(surfaces.panel.shown->canAllow());
    surfaces.panel.shown->allow();
    turn();
    EXPECT_FALSE(takeJournal().contains(u"allow a"_s));
    wait(5);
    EXPECT_EQ(state(), NotchState::compact);
}

TEST_F(NotchControllerTest, aSessionThatDiesLeavesNoStaleSign)
{
    start();
    const auto a = begin(u"a"_s);
    begin(u"b"_s, u"/home/u/b"_s);
    a->setPid(100);
    a->setPidStartTime(1);
    a->setState(SessionState::hasQuestion);
    turn();
    EXPECT_EQ(viewModel().attentionCount(), 1);
    manager.checkLiveness();
    turn();
    EXPECT_EQ(viewModel().attentionCount(), 0);
}

TEST_F(NotchControllerTest, theLastSessionsEndClosesTheCard)
{
    start();
    begin(u"a"_s);
    const auto a = request(u"a"_s);
    takeJournal();
    manager.killSession(a);
    turn();
    EXPECT_THAT(takeJournal(), ElementsAre(u"close"_s));
    EXPECT_EQ(state(), NotchState::compact) << "the notch stays";
}

TEST_F(NotchControllerTest, theLastSessionsEndCollapsesTheNotch)
{
    start();
    begin(u"a"_s);
    hover(true);
    takeJournal();
    send(EventBuilder(HookEventType::sessionEnd).session(u"a"_s));
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    EXPECT_EQ(state(), NotchState::compact);
}

TEST_F(NotchControllerTest, aPanelThatWasOpenedWithoutSessionsStaysWhenRecordsOfEndedOnesChange)
{
    start();
    const auto a = begin(u"a"_s);
    manager.killSession(a);
    turn();
    hover(true);
    takeJournal();
    a->setGitBranch(u"main"_s);
    turn();
    EXPECT_EQ(state(), NotchState::expanded);
    send(EventBuilder(HookEventType::sessionEnd).session(u"unknown"_s));
    EXPECT_EQ(state(), NotchState::compact) << "an event that finds no live session";
}

TEST_F(NotchControllerTest, anEventThatLeavesSomebodyAliveCollapsesNothing)
{
    start();
    begin(u"a"_s);
    begin(u"b"_s, u"/home/u/b"_s);
    hover(true);
    send(EventBuilder(HookEventType::sessionEnd).session(u"a"_s));
    EXPECT_EQ(state(), NotchState::expanded);
}

TEST_F(NotchControllerTest, collapseActsOnlyWhileExpanded)
{
    start();
    controller->collapse();
    EXPECT_THAT(takeJournal(), IsEmpty());
    hover(true);
    takeJournal();
    controller->collapse();
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    EXPECT_EQ(state(), NotchState::compact);
    begin(u"a"_s);
    request(u"a"_s);
    controller->collapse();
    EXPECT_EQ(state(), NotchState::peeking);
    controller->stop();
    takeJournal();
    controller->collapse();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchControllerTest, afterACollapseThePointerMustComeBackToExpandAgain)
{
    start();
    hover(true);
    controller->collapse();
    notch().finish();
    wait(5);
    EXPECT_EQ(state(), NotchState::compact);
    hover(false);
    hover(true);
    EXPECT_EQ(state(), NotchState::expanded);
}

TEST_F(NotchControllerTest, stopClosesTheCardAndHidesTheNotch)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    takeJournal();
    controller->stop();
    EXPECT_THAT(takeJournal(), ElementsAre(u"close"_s, u"hide"_s));
    EXPECT_EQ(state(), NotchState::hidden);
    EXPECT_EQ(surfaces.current, nullptr);
    EXPECT_EQ(surfaces.retired.size(), 1U) << "it fades out";
    controller->stop();
    wait(10);
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(NotchControllerTest, aRestartBuildsANewNotch)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    controller->stop();
    takeJournal();
    controller->start();
    EXPECT_EQ(surfaces.made, 2);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s));
    EXPECT_EQ(viewModel().attentionCount(), 1);
    notch().finish();
    hover(true);
    EXPECT_EQ(state(), NotchState::expanded);
}

TEST_F(NotchControllerTest, afterTheStopNothingOfItReacts)
{
    start();
    const auto a = begin(u"a"_s);
    notch().hover(true);
    controller->stop();
    a->setState(SessionState::needsPermission);
    controller->sessionNeedsAttention(a);
    controller->sessionsDidChange();
    screens.set({});
    sessionLock.set(true);
    fullScreens.set({ u"one"_s });
    wait(10);
    EXPECT_THAT(takeJournal(), ElementsAre(u"hide"_s));
    EXPECT_EQ(state(), NotchState::hidden);
}

TEST_F(NotchControllerTest, stoppingBeforeTheFirstAnimationHasEndedIsFine)
{
    make();
    controller->start();
    auto &leaving = notch();
    controller->stop();
    leaving.finish();
    leaving.hover(true);
    wait(1);
    EXPECT_THAT(takeJournal(), ElementsAre(u"compact one"_s, u"hide"_s));
}

TEST_F(NotchControllerTest, goingLeavesNothingThatCallsIt)
{
    start();
    begin(u"a"_s);
    request(u"a"_s);
    hover(true, 0);
    auto &leaving = notch();
    controller.reset();
    leaving.finish();
    leaving.hover(false);
    screens.set({});
    sessionLock.set(true);
    fullScreens.set({});
    wait(10);
    EXPECT_EQ(scheduler.activeTimers(), 1U) << "the requests' sweep alone";
}

TEST_F(NotchControllerTest, aThousandAttentionsInOneTurnEndWithTheLastOnesCard)
{
    start();
    QList<SessionPtr> sessions;
    for (int i = 0; i < 1000; ++i) {
        sessions.append(looseSession(QString::number(i)));
        controller->sessionNeedsAttention(sessions.last());
    }
    turn();
    ASSERT_TRUE(surfaces.panel.shown);
    EXPECT_EQ(surfaces.panel.shown->session(), sessions.last());
    EXPECT_EQ(viewModel().peekSession(), sessions.last());
    takeJournal();
    wait(5);
    EXPECT_THAT(takeJournal(), ElementsAre(u"close"_s));
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(NotchControllerTest, oddTextsComeThrough)
{
    start();
    for (const QString &odd : { QString(), u" "_s, u"<b>\n'; --"_s, QString(10'000, u'x') }) {
        const auto session = looseSession(odd, odd);
        session->setToolName(odd);
        controller->sessionNeedsAttention(session);
        ASSERT_TRUE(surfaces.panel.shown);
        EXPECT_EQ(surfaces.panel.shown->session(), session);
        EXPECT_EQ(viewModel().peekSession(), session);
    }
}

} // namespace
} // namespace vantry::test
