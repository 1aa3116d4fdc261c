#include "notch/NotchStateMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry {
// Found by the framework when a test fails.
void PrintTo(const NotchEffect &effect, std::ostream *out) // NOLINT(readability-identifier-naming)
{
    static constexpr std::array names { "showPeek", "showCompact", "dismissPeek", "expand", "collapse", "hide" };
    *out << names.at(static_cast<std::size_t>(effect.kind)) << '(' << effect.sessionID.toStdString() << ')';
}
} // namespace vantry

namespace vantry::test {
namespace {

using Effect = NotchEffect::Kind;
using Input = NotchInput::Kind;
using Effects = QList<NotchEffect>;

/// Where a machine is before an input.
enum class From { NeverStarted, Stopped, Compact, Peeking, Expanded };

NotchStateMachine machineIn(From from)
{
    NotchStateMachine machine;
    if (from == From::NeverStarted)
        return machine;
    machine.send({ Input::start });
    if (from == From::Stopped)
        machine.send({ Input::stop });
    if (from == From::Peeking)
        machine.send({ Input::attention, u"old"_s });
    if (from == From::Expanded)
        machine.send({ Input::hoverEntered });
    return machine;
}

/// One cell of the table.
struct Cell
{
    const char *name;
    From from;
    NotchInput input;
    NotchState next;
    Effects effects {};
};

class NotchTableTest : public ::testing::TestWithParam<Cell>
{};

TEST_P(NotchTableTest, isCarriedOut)
{
    const Cell &cell = GetParam();
    NotchStateMachine machine = machineIn(cell.from);
    EXPECT_EQ(machine.send(cell.input), cell.effects);
    EXPECT_EQ(machine.state(), cell.next);
    EXPECT_EQ(machine.isRunning(), cell.next != NotchState::hidden);
    const std::optional<QString> shown = cell.input.kind == Input::attention ? cell.input.sessionID : u"old"_s;
    EXPECT_EQ(machine.peekSessionID(), cell.next == NotchState::peeking ? shown : std::nullopt);
}

const NotchInput ask { Input::attention, u"new"_s };

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, NotchTableTest, ::testing::Values(
    Cell { "startBeforeTheFirst", From::NeverStarted, { Input::start }, NotchState::compact, { { Effect::showCompact } } },
    Cell { "stopBeforeTheFirstStart", From::NeverStarted, { Input::stop }, NotchState::hidden },
    Cell { "idleBeforeTheFirstStart", From::NeverStarted, { Input::idle }, NotchState::hidden },
    Cell { "allSessionsGoneBeforeTheFirstStart", From::NeverStarted, { Input::allSessionsGone }, NotchState::hidden },
    Cell { "peekTimeoutBeforeTheFirstStart", From::NeverStarted, { Input::peekTimeout }, NotchState::hidden },
    Cell { "hoverEnteredBeforeTheFirstStart", From::NeverStarted, { Input::hoverEntered }, NotchState::hidden },
    Cell { "hoverExitedBeforeTheFirstStart", From::NeverStarted, { Input::hoverExited }, NotchState::hidden },
    Cell { "attentionBeforeTheFirstStart", From::NeverStarted, ask, NotchState::hidden },

    Cell { "startAfterStop", From::Stopped, { Input::start }, NotchState::compact, { { Effect::showCompact } } },
    Cell { "stopAfterStop", From::Stopped, { Input::stop }, NotchState::hidden },
    Cell { "idleAfterStop", From::Stopped, { Input::idle }, NotchState::hidden },
    Cell { "allSessionsGoneAfterStop", From::Stopped, { Input::allSessionsGone }, NotchState::hidden },
    Cell { "peekTimeoutAfterStop", From::Stopped, { Input::peekTimeout }, NotchState::hidden },
    Cell { "hoverEnteredAfterStop", From::Stopped, { Input::hoverEntered }, NotchState::hidden },
    Cell { "hoverExitedAfterStop", From::Stopped, { Input::hoverExited }, NotchState::hidden },
    Cell { "attentionAfterStop", From::Stopped, ask, NotchState::hidden },

    Cell { "startWhileCompact", From::Compact, { Input::start }, NotchState::compact },
    Cell { "stopWhileCompact", From::Compact, { Input::stop }, NotchState::hidden, { { Effect::hide } } },
    Cell { "idleWhileCompact", From::Compact, { Input::idle }, NotchState::compact },
    Cell { "allSessionsGoneWhileCompact", From::Compact, { Input::allSessionsGone }, NotchState::compact },
    Cell { "peekTimeoutWhileCompact", From::Compact, { Input::peekTimeout }, NotchState::compact },
    Cell { "hoverEnteredWhileCompact", From::Compact, { Input::hoverEntered }, NotchState::expanded, { { Effect::expand } } },
    Cell { "hoverExitedWhileCompact", From::Compact, { Input::hoverExited }, NotchState::compact },
    Cell { "attentionWhileCompact", From::Compact, ask, NotchState::peeking, { { Effect::showPeek, u"new"_s } } },

    Cell { "startWhilePeeking", From::Peeking, { Input::start }, NotchState::peeking },
    Cell { "stopWhilePeeking", From::Peeking, { Input::stop }, NotchState::hidden, { { Effect::dismissPeek }, { Effect::hide } } },
    Cell { "idleWhilePeeking", From::Peeking, { Input::idle }, NotchState::peeking },
    Cell { "allSessionsGoneWhilePeeking", From::Peeking, { Input::allSessionsGone }, NotchState::compact, { { Effect::dismissPeek } } },
    Cell { "peekTimeoutWhilePeeking", From::Peeking, { Input::peekTimeout }, NotchState::compact, { { Effect::dismissPeek } } },
    Cell { "hoverEnteredWhilePeeking", From::Peeking, { Input::hoverEntered }, NotchState::expanded, { { Effect::dismissPeek }, { Effect::expand } } },
    Cell { "hoverExitedWhilePeeking", From::Peeking, { Input::hoverExited }, NotchState::peeking },
    Cell { "attentionWhilePeeking", From::Peeking, ask, NotchState::peeking, { { Effect::dismissPeek }, { Effect::showPeek, u"new"_s } } },

    Cell { "startWhileExpanded", From::Expanded, { Input::start }, NotchState::expanded },
    Cell { "stopWhileExpanded", From::Expanded, { Input::stop }, NotchState::hidden, { { Effect::hide } } },
    Cell { "idleWhileExpanded", From::Expanded, { Input::idle }, NotchState::expanded },
    Cell { "allSessionsGoneWhileExpanded", From::Expanded, { Input::allSessionsGone }, NotchState::compact, { { Effect::collapse } } },
    Cell { "peekTimeoutWhileExpanded", From::Expanded, { Input::peekTimeout }, NotchState::expanded },
    Cell { "hoverEnteredWhileExpanded", From::Expanded, { Input::hoverEntered }, NotchState::expanded },
    Cell { "hoverExitedWhileExpanded", From::Expanded, { Input::hoverExited }, NotchState::compact, { { Effect::collapse } } },
    Cell { "attentionWhileExpanded", From::Expanded, ask, NotchState::expanded }),
    [](const auto &cell) { return std::string(cell.param.name); });
// clang-format on

TEST(NotchStateMachineTest, isHiddenAndNotRunningAtFirst)
{
    const NotchStateMachine machine;
    EXPECT_EQ(machine.state(), NotchState::hidden);
    EXPECT_FALSE(machine.isRunning());
    EXPECT_EQ(machine.peekSessionID(), std::nullopt);
}

TEST(NotchStateMachineTest, describesStatesByTheirNames)
{
    EXPECT_EQ(description(NotchState::hidden), "hidden"_L1);
    EXPECT_EQ(description(NotchState::compact), "compact"_L1);
    EXPECT_EQ(description(NotchState::peeking), "peeking"_L1);
    EXPECT_EQ(description(NotchState::expanded), "expanded"_L1);
}

TEST(NotchStateMachineTest, peeksAreEqualWhenTheirSessionsAre)
{
    EXPECT_EQ((NotchEffect { Effect::showPeek, u"a"_s }), (NotchEffect { Effect::showPeek, u"a"_s }));
    EXPECT_NE((NotchEffect { Effect::showPeek, u"a"_s }), (NotchEffect { Effect::showPeek, u"b"_s }));
    EXPECT_NE((NotchEffect { Effect::showPeek, QString() }), NotchEffect { Effect::showCompact });
}

TEST(NotchStateMachineTest, leavingRightAfterTheStartDoesNothing)
{
    NotchStateMachine machine;
    machine.send({ Input::start });
    EXPECT_THAT(machine.send({ Input::hoverExited }), IsEmpty());
    EXPECT_EQ(machine.state(), NotchState::compact);
}

TEST(NotchStateMachineTest, aNewAttentionReplacesTheCard)
{
    NotchStateMachine machine = machineIn(From::Compact);
    EXPECT_THAT(machine.attention(u"a"_s), ElementsAre(NotchEffect { Effect::showPeek, u"a"_s }));
    EXPECT_THAT(machine.attention(u"b"_s),
                ElementsAre(NotchEffect { Effect::dismissPeek }, NotchEffect { Effect::showPeek, u"b"_s }));
    EXPECT_EQ(machine.peekSessionID(), u"b"_s);
}

TEST(NotchStateMachineTest, theSameSessionAskingAgainReplacesItsCard)
{
    NotchStateMachine machine = machineIn(From::Compact);
    machine.attention(u"a"_s);
    EXPECT_THAT(machine.attention(u"a"_s),
                ElementsAre(NotchEffect { Effect::dismissPeek }, NotchEffect { Effect::showPeek, u"a"_s }));
}

TEST(NotchStateMachineTest, aLateTimeoutDoesNotCollapseWhatThePointerHasExpanded)
{
    NotchStateMachine machine = machineIn(From::Compact);
    machine.attention(u"a"_s);
    machine.send({ Input::hoverEntered });
    EXPECT_THAT(machine.send({ Input::peekTimeout }), IsEmpty());
    EXPECT_EQ(machine.state(), NotchState::expanded);
    EXPECT_EQ(machine.peekSessionID(), std::nullopt);
}

TEST(NotchStateMachineTest, anAttentionWhileExpandedIsNotKeptForLater)
{
    NotchStateMachine machine = machineIn(From::Expanded);
    EXPECT_THAT(machine.attention(u"a"_s), IsEmpty());
    EXPECT_THAT(machine.send({ Input::hoverExited }), ElementsAre(NotchEffect { Effect::collapse }));
    EXPECT_THAT(machine.send({ Input::idle }), IsEmpty());
    EXPECT_EQ(machine.state(), NotchState::compact);
}

TEST(NotchStateMachineTest, aSecondStopDoesNothing)
{
    NotchStateMachine machine = machineIn(From::Peeking);
    EXPECT_THAT(machine.stop(), ElementsAre(NotchEffect { Effect::dismissPeek }, NotchEffect { Effect::hide }));
    EXPECT_THAT(machine.stop(), IsEmpty());
}

TEST(NotchStateMachineTest, startsAgainAsAtFirst)
{
    NotchStateMachine machine = machineIn(From::Peeking);
    machine.stop();
    EXPECT_THAT(machine.send({ Input::start }), ElementsAre(NotchEffect { Effect::showCompact }));
    EXPECT_THAT(machine.attention(u"a"_s), ElementsAre(NotchEffect { Effect::showPeek, u"a"_s }));
}

TEST(NotchStateMachineTest, takesAnIdentifierOfAnyText)
{
    for (const QString &id : { QString(), u" "_s, u"\0x"_s, u"🦉\n'; --"_s, QString(100'000, u'x') }) {
        NotchStateMachine machine = machineIn(From::Compact);
        EXPECT_THAT(machine.attention(id), ElementsAre(NotchEffect { Effect::showPeek, id }));
        EXPECT_EQ(machine.peekSessionID(), id);
    }
}

TEST(NotchStateMachineTest, theMethodsDoWhatTheInputsDo)
{
    for (const From from : { From::NeverStarted, From::Stopped, From::Compact, From::Peeking, From::Expanded }) {
        EXPECT_EQ(machineIn(from).stop(), machineIn(from).send({ Input::stop }));
        EXPECT_EQ(machineIn(from).allSessionsGone(), machineIn(from).send({ Input::allSessionsGone }));
        EXPECT_EQ(machineIn(from).attention(u"a"_s), machineIn(from).send({ Input::attention, u"a"_s }));
    }
}

/// What is on the screen, as somebody sees it who knows the effects alone.
struct Screen
{
    bool shows { false };
    bool isExpanded { false };
    std::optional<QString> card {};

    void take(const NotchEffect &effect)
    {
        switch (effect.kind) {
        case Effect::showCompact:
            EXPECT_FALSE(shows);
            shows = true;
            break;
        case Effect::hide:
            EXPECT_TRUE(shows);
            *this = {};
            break;
        case Effect::showPeek:
            EXPECT_TRUE(shows && !isExpanded && !card);
            card = effect.sessionID;
            break;
        case Effect::dismissPeek:
            EXPECT_TRUE(card.has_value());
            card.reset();
            break;
        case Effect::expand:
            EXPECT_TRUE(shows && !isExpanded && !card);
            isExpanded = true;
            break;
        case Effect::collapse:
            EXPECT_TRUE(isExpanded);
            isExpanded = false;
            break;
        }
    }
};

TEST(NotchStateMachineTest, anySequenceOfInputsKeepsTheInvariants)
{
    std::mt19937 random(20260117); // NOLINT(cert-msc51-cpp): the same walk in every run
    constexpr auto lastInput = static_cast<int>(Input::attention);
    NotchStateMachine machine;
    Screen screen;
    for (int step = 0; step < 100'000; ++step) {
        const auto kind = static_cast<Input>(std::uniform_int_distribution(0, lastInput)(random));
        const QString id = QString::number(std::uniform_int_distribution(0, 3)(random));
        const auto effects = machine.send({ kind, kind == Input::attention ? id : QString() });
        std::ranges::for_each(effects, [&screen](const NotchEffect &effect) { screen.take(effect); });

        ASSERT_EQ(machine.peekSessionID().has_value(), machine.state() == NotchState::peeking);
        ASSERT_EQ(machine.isRunning(), machine.state() != NotchState::hidden);
        // The effects tell the whole of the state.
        ASSERT_EQ(screen.shows, machine.isRunning());
        ASSERT_EQ(screen.isExpanded, machine.state() == NotchState::expanded);
        ASSERT_EQ(screen.card, machine.peekSessionID());
        ASSERT_FALSE(::testing::Test::HasFailure()) << "step " << step;
    }
}

} // namespace
} // namespace vantry::test
