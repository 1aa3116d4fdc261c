#include "sessions/SessionManagerFixture.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <tuple>

namespace vantry {

namespace {

using test::EventBuilder;
using Type = HookEventType;
using State = SessionState;

/// One row of the state machine: what the event makes of any state; `from` names the states that it treats otherwise.
struct Row
{
    std::string name;
    HookEvent event;
    State to;
    bool needsAttention;
    std::optional<State> from {}; ///< This state goes to `fromTo` instead.
    State fromTo { State::ready };
};

EventBuilder notification(NotificationType type)
{
    return EventBuilder(Type::notification).notification(type);
}

std::vector<Row> rows()
{
    const QString ask = QStringLiteral("AskUserQuestion");
    const QString plan = QStringLiteral("ExitPlanMode");
    const QString bash = QStringLiteral("Bash");
    return {
        { "SessionStart", EventBuilder(Type::sessionStart), State::ready, false },
        { "UserPromptSubmit", EventBuilder(Type::userPromptSubmit), State::working, false },
        { "PreToolUseOfQuestion", EventBuilder(Type::preToolUse).tool(ask), State::hasQuestion, true },
        { "PreToolUseOfPlan", EventBuilder(Type::preToolUse).tool(plan), State::needsPermission, true },
        { "PreToolUseOfOtherTool", EventBuilder(Type::preToolUse).tool(bash), State::working, false },
        { "PreToolUseWithoutTool", EventBuilder(Type::preToolUse), State::working, false },
        { "PermissionRequestOfQuestion", EventBuilder(Type::permissionRequest).tool(ask), State::hasQuestion, true },
        { "PermissionRequestOfPlan", EventBuilder(Type::permissionRequest).tool(plan), State::needsPermission, true },
        { "PermissionRequestOfOtherTool", EventBuilder(Type::permissionRequest).tool(bash), State::needsPermission,
          true },
        { "PermissionRequestWithoutTool", EventBuilder(Type::permissionRequest), State::needsPermission, true },
        { "PostToolUseOfOtherTool", EventBuilder(Type::postToolUse).tool(bash), State::working, false,
          State::hasQuestion, State::hasQuestion },
        { "PostToolUseWithoutTool", EventBuilder(Type::postToolUse), State::working, false, State::hasQuestion,
          State::hasQuestion },
        { "PostToolUseOfQuestion", EventBuilder(Type::postToolUse).tool(ask), State::working, false },
        { "PostToolUseFailureByInterrupt", EventBuilder(Type::postToolUseFailure).interrupt(true), State::ready,
          false },
        { "PostToolUseFailureWithoutInterrupt", EventBuilder(Type::postToolUseFailure).interrupt(false), State::working,
          false },
        { "PostToolUseFailureWithInterruptAbsent", EventBuilder(Type::postToolUseFailure), State::working, false },
        { "StopWithQuestion", EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("Go on?")),
          State::hasQuestion, true },
        { "StopWithStatement", EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("Done.")), State::ready,
          true },
        { "StopWithoutText", EventBuilder(Type::stop), State::ready, true },
        { "StopWithQuestionInMessageOnly", EventBuilder(Type::stop).message(QStringLiteral("Go on?")), State::ready,
          true },
        { "TaskCompleted", EventBuilder(Type::taskCompleted), State::ready, true },
        { "NotificationWithoutType", EventBuilder(Type::notification), State::ready, false },
        { "NotificationOfPermissionByMessage",
          notification(NotificationType::permissionPrompt).message(QStringLiteral("Claude needs your PERMISSION")),
          State::needsPermission, true },
        { "NotificationOfPermissionByTool", notification(NotificationType::permissionPrompt).tool(bash),
          State::needsPermission, true },
        { "NotificationOfPermissionByNeither",
          notification(NotificationType::permissionPrompt).message(QStringLiteral("Look here")), State::ready, false },
        { "NotificationOfIdleness", notification(NotificationType::idlePrompt), State::ready, false, State::hasQuestion,
          State::hasQuestion },
        { "NotificationOfTaskComplete", notification(NotificationType::taskComplete), State::ready, true },
        { "NotificationOfElicitation", notification(NotificationType::elicitationDialog), State::hasQuestion, true },
        { "NotificationOfAuthSuccess", notification(NotificationType::authSuccess), State::working, false },
        { "LegacySessionStart", EventBuilder(Type::legacySessionStart), State::ready, false },
        { "LegacyNotification", EventBuilder(Type::legacyNotification), State::ready, false },
        { "LegacyStop", EventBuilder(Type::legacyStop), State::ready, true },
        { "LegacyUserPromptSubmit", EventBuilder(Type::legacyUserPromptSubmit), State::working, false },
        { "LegacyPreToolUse", EventBuilder(Type::legacyPreToolUse).tool(ask), State::hasQuestion, true },
        { "LegacyPostToolUse", EventBuilder(Type::legacyPostToolUse).tool(bash), State::working, false,
          State::hasQuestion, State::hasQuestion },
    };
}

class SessionStateTable : public test::SessionManagerFixture,
                          public ::testing::WithParamInterface<std::tuple<State, Row>>
{};

TEST_P(SessionStateTable, eventLeadsFromEveryStateWhereItsRowSays)
{
    const auto &[before, row] = GetParam();
    const SessionPtr session = sessionIn(before);

    handle(row.event);

    EXPECT_EQ(session->state(), row.from == before ? row.fromTo : row.to);
    EXPECT_EQ(attentionCalls(), row.needsAttention ? 1 : 0);
    EXPECT_TRUE(session->isAlive());
}

TEST_P(SessionStateTable, sessionIsSavedWithItsNewStateBeforeAnybodyIsTold)
{
    const auto &[before, row] = GetParam();
    const SessionPtr session = sessionIn(before);
    clock.advance(Seconds { 5 });

    handle(row.event);

    QStringList calls { QStringLiteral("save s"), QStringLiteral("publish") };
    if (row.event.eventType() == Type::taskCompleted)
        calls.prepend(QStringLiteral("index s"));
    if (row.needsAttention)
        calls.append(QStringLiteral("attention s"));
    EXPECT_EQ(store.journal, calls);
    EXPECT_EQ(store.rows[QStringLiteral("s")].state, session->state());
    EXPECT_EQ(store.rows[QStringLiteral("s")].lastUpdated, clock.now());
    EXPECT_TRUE(std::ranges::all_of(attentionStates, [&](State told) { return told == session->state(); }));
}

constexpr std::array liveStates { State::launching, State::working, State::needsPermission, State::hasQuestion,
                                  State::ready };

INSTANTIATE_TEST_SUITE_P(Rows, SessionStateTable,
                         ::testing::Combine(::testing::ValuesIn(liveStates), ::testing::ValuesIn(rows())),
                         [](const auto &instance) {
                             return std::get<1>(instance.param).name + "From" +
                                    statusString(std::get<0>(instance.param)).remove(u'_').toStdString();
                         });

class QuietEvent : public test::SessionManagerFixture,
                   public ::testing::WithParamInterface<std::tuple<State, HookEventType>>
{};

TEST_P(QuietEvent, onlyShowsThatTheSessionIsActive)
{
    const auto &[state, type] = GetParam();
    const SessionPtr session = sessionIn(state);
    session->setActiveSubagentCount(3);
    session->setCompacting(true);
    session->setLastMessage(QStringLiteral("before"));
    clock.advance(Seconds { 7 });

    handle(EventBuilder(type).message(QStringLiteral("ignored")).tool(QStringLiteral("Bash")));

    EXPECT_EQ(session->state(), state);
    EXPECT_EQ(session->toolName(), QStringLiteral("Bash"));
    EXPECT_EQ(session->lastMessage(), QStringLiteral("before"));
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_EQ(session->activeSubagentCount(), 3);
    EXPECT_TRUE(session->isCompacting());
    EXPECT_EQ(store.journal, (QStringList { QStringLiteral("save s"), QStringLiteral("publish") }));
}

INSTANTIATE_TEST_SUITE_P(Kinds, QuietEvent,
                         ::testing::Combine(::testing::ValuesIn(liveStates),
                                            ::testing::Values(Type::subagentStart, Type::subagentStop, Type::preCompact,
                                                              Type::teammateIdle, Type::configChange,
                                                              Type::instructionsLoaded, Type::worktreeCreate,
                                                              Type::worktreeRemove)));

/// Every kind of event but the two that begin and end a session.
class FinishedSession : public test::SessionManagerFixture, public ::testing::WithParamInterface<HookEventType>
{};

TEST_P(FinishedSession, ignoresLateEvents)
{
    const SessionPtr session = sessionIn(State::ready);
    manager.markEnded(session);
    const Date ended = session->lastUpdated();
    store.journal.clear();
    clock.advance(Seconds { 1 });

    handle(EventBuilder(GetParam()).tool(QStringLiteral("Bash")).prompt(QStringLiteral("p")).pid(99));

    EXPECT_FALSE(session->isAlive());
    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->lastUpdated(), ended);
    EXPECT_EQ(session->toolName(), std::nullopt);
    EXPECT_EQ(session->lastPrompt(), std::nullopt);
    EXPECT_EQ(session->pid(), std::nullopt);
    EXPECT_TRUE(session->promptHistory().isEmpty());
    EXPECT_TRUE(session->toolHistory().isEmpty());
    EXPECT_TRUE(store.journal.isEmpty());
    EXPECT_EQ(attentionCalls(), 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FinishedSession,
                         ::testing::Values(Type::notification, Type::stop, Type::userPromptSubmit, Type::preToolUse,
                                           Type::postToolUse, Type::postToolUseFailure, Type::permissionRequest,
                                           Type::subagentStart, Type::subagentStop, Type::preCompact,
                                           Type::taskCompleted, Type::teammateIdle, Type::configChange,
                                           Type::instructionsLoaded, Type::worktreeCreate, Type::worktreeRemove,
                                           Type::legacyStop));

} // namespace
} // namespace vantry
