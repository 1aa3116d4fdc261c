#include "notch/NotchFixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry::test {
namespace {

class NotchViewModelTest : public NotchFixture
{
protected:
    SessionPtr add(const QString &id, SessionState state)
    {
        SessionPtr session = begin(id, u"/home/u/"_s + id);
        session->setState(state);
        model.refresh();
        return session;
    }

    NotchViewModel model { manager, scheduler, {}, nullptr };
};

TEST_F(NotchViewModelTest, readsTheSessionsWhenItIsMade)
{
    begin(u"a"_s)->setState(SessionState::hasQuestion);
    const NotchViewModel later(manager, scheduler, {}, nullptr);
    EXPECT_EQ(later.attentionCount(), 1);
    EXPECT_EQ(later.mostUrgentState(), SessionState::hasQuestion);
}

TEST_F(NotchViewModelTest, knowsOnlyAliveSessionsInTheManagersOrder)
{
    const auto a = add(u"a"_s, SessionState::needsPermission);
    const auto b = add(u"b"_s, SessionState::working);
    const auto c = add(u"c"_s, SessionState::ready);
    a->setAlive(false);
    model.refresh();
    EXPECT_THAT(model.sessions(), ElementsAre(b, c));
    EXPECT_EQ(model.attentionCount(), 0) << "a dead session asks for nothing";
}

TEST_F(NotchViewModelTest, withoutSessionsNothingWaitsOrWorks)
{
    EXPECT_FALSE(model.hasAttention());
    EXPECT_EQ(model.attentionCount(), 0);
    EXPECT_FALSE(model.hasWorkingSessions());
    EXPECT_EQ(model.mostUrgentState(), std::nullopt);
    EXPECT_EQ(model.glyph(), NotchViewModel::Idle);
    EXPECT_EQ(model.countText(), QString());
}

TEST_F(NotchViewModelTest, aReadySessionAloneIsAttentionThatDoesNotCount)
{
    add(u"a"_s, SessionState::ready);
    EXPECT_TRUE(model.hasAttention());
    EXPECT_EQ(model.attentionCount(), 0);
    EXPECT_EQ(model.mostUrgentState(), std::nullopt);
    EXPECT_EQ(model.glyph(), NotchViewModel::Idle) << "the still icon";
    EXPECT_EQ(model.countText(), QString());
}

TEST_F(NotchViewModelTest, aPermissionIsMoreUrgentThanAQuestionWhicheverCameFirst)
{
    const auto a = add(u"a"_s, SessionState::hasQuestion);
    EXPECT_EQ(model.mostUrgentState(), SessionState::hasQuestion);
    const auto b = add(u"b"_s, SessionState::needsPermission);
    EXPECT_EQ(model.mostUrgentState(), SessionState::needsPermission);
    a->setState(SessionState::needsPermission);
    b->setState(SessionState::hasQuestion);
    model.refresh();
    EXPECT_EQ(model.mostUrgentState(), SessionState::needsPermission);
    EXPECT_EQ(model.glyph(), NotchViewModel::Permission);
    EXPECT_EQ(model.countText(), u"2"_s);
}

TEST_F(NotchViewModelTest, theQuestionGlyphWinsOverWorkingSessions)
{
    add(u"a"_s, SessionState::working);
    add(u"b"_s, SessionState::working);
    EXPECT_EQ(model.glyph(), NotchViewModel::Working);
    add(u"c"_s, SessionState::hasQuestion);
    EXPECT_EQ(model.glyph(), NotchViewModel::Question);
    EXPECT_EQ(model.countText(), u"1"_s);
}

TEST_F(NotchViewModelTest, aLaunchingSessionCountsAsWorking)
{
    add(u"a"_s, SessionState::launching);
    EXPECT_TRUE(model.hasWorkingSessions());
    EXPECT_FALSE(model.hasAttention());
    EXPECT_EQ(model.glyph(), NotchViewModel::Working);
}

TEST_F(NotchViewModelTest, tellsOfAChangeOnlyWhenThereIsOne)
{
    const auto a = add(u"a"_s, SessionState::working);
    int told = 0;
    int counts = 0;
    QObject::connect(&model, &NotchViewModel::changed, [&told] { ++told; });
    QObject::connect(&model, &NotchViewModel::attentionCountChanged, [&counts] { ++counts; });
    model.refresh();
    EXPECT_EQ(told, 0);
    a->setState(SessionState::needsPermission);
    model.refresh();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(counts, 1);
    a->setState(SessionState::hasQuestion);
    model.refresh();
    EXPECT_EQ(told, 2);
    EXPECT_EQ(counts, 1);
}

TEST_F(NotchViewModelTest, saysTheGlyphsInWords)
{
    EXPECT_EQ(model.accessibleText(), u"Vantry"_s);
    const auto a = add(u"a"_s, SessionState::working);
    EXPECT_EQ(model.accessibleText(), u"Working"_s);
    a->setState(SessionState::hasQuestion);
    model.refresh();
    EXPECT_EQ(model.accessibleText(), u"Has a question"_s);
    add(u"b"_s, SessionState::needsPermission);
    EXPECT_EQ(model.accessibleText(), u"Needs permission, 2"_s);
}

TEST_F(NotchViewModelTest, aPeekIsPublishedForFiveSeconds)
{
    const auto a = add(u"a"_s, SessionState::needsPermission);
    a->setToolName(u"Bash"_s);
    model.showPeek(a);
    EXPECT_TRUE(model.isPeekMode());
    EXPECT_TRUE(model.isShowingPeek());
    EXPECT_EQ(model.peekSession(), a);
    EXPECT_EQ(model.peekMessage(), u"a  Needs permission: Bash"_s);
    scheduler.advance(Seconds { 4.999 });
    EXPECT_TRUE(model.isShowingPeek());
    scheduler.advance(Seconds { 0.001 });
    EXPECT_FALSE(model.isPeekMode());
    EXPECT_FALSE(model.isShowingPeek());
    EXPECT_EQ(model.peekSession(), nullptr);
    EXPECT_EQ(model.peekMessage(), std::nullopt);
}

TEST_F(NotchViewModelTest, aNewPeekStartsTheTimeAnew)
{
    const auto a = add(u"a"_s, SessionState::needsPermission);
    model.showPeek(a);
    scheduler.advance(Seconds { 3 });
    model.showPeek(a);
    scheduler.advance(Seconds { 3 });
    EXPECT_TRUE(model.isShowingPeek());
    scheduler.advance(Seconds { 2 });
    EXPECT_FALSE(model.isShowingPeek());
}

TEST_F(NotchViewModelTest, aPeekWhoseSessionWaitsNoMoreIsCleared)
{
    const auto a = add(u"a"_s, SessionState::needsPermission);
    model.showPeek(a);
    a->setState(SessionState::hasQuestion);
    model.refresh();
    EXPECT_TRUE(model.isShowingPeek()) << "it waits still";
    a->setState(SessionState::ready);
    model.refresh();
    EXPECT_FALSE(model.isShowingPeek());
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(NotchViewModelTest, leavingThePeekModeLeavesTheRest)
{
    const auto a = add(u"a"_s, SessionState::hasQuestion);
    model.showPeek(a);
    model.leavePeekMode();
    EXPECT_FALSE(model.isPeekMode());
    EXPECT_TRUE(model.isShowingPeek());
    EXPECT_EQ(model.peekMessage(), u"a  Has a question"_s);
}

TEST_F(NotchViewModelTest, thePeekOfANamelessSessionBeginsWithItsIdentifier)
{
    const auto a = looseSession(u"0123456789"_s);
    model.showPeek(a);
    EXPECT_EQ(model.peekMessage(), u"01234567  Needs permission"_s);
}

TEST_F(NotchViewModelTest, anEmptyToolNameIsNone)
{
    const auto a = add(u"a"_s, SessionState::needsPermission);
    a->setToolName(QString());
    model.showPeek(a);
    EXPECT_EQ(model.peekMessage(), u"a  Needs permission"_s);
}

TEST_F(NotchViewModelTest, thePeekOfAnyOtherStateAsksForAttention)
{
    for (const auto state : { SessionState::ready, SessionState::working, SessionState::launching }) {
        const auto a = add(u"a"_s, state);
        model.showPeek(a);
        EXPECT_EQ(model.peekMessage(), u"a  Needs attention"_s);
    }
}

TEST_F(NotchViewModelTest, withoutAPanelNothingIsShownInIt)
{
    model.setPanelVisible(true);
    model.setPanelVisible(false);
    EXPECT_EQ(model.panel(), nullptr);
}

TEST_F(NotchViewModelTest, aPeekThatIsClearedWithoutOneTellsNobody)
{
    int told = 0;
    QObject::connect(&model, &NotchViewModel::peekChanged, [&told] { ++told; });
    model.clearPeek();
    model.leavePeekMode();
    EXPECT_EQ(told, 0);
}

} // namespace
} // namespace vantry::test
