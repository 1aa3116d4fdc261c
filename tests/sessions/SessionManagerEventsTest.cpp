#include "sessions/SessionManagerFixture.h"

#include <QStringList>

namespace vantry {
namespace {

using test::EventBuilder;
using Type = HookEventType;
using State = SessionState;

/// What events change of a session beside its state, which SessionStateTable tests.
class SessionManagerEvents : public test::SessionManagerFixture
{
protected:
    static constexpr const char *question = R"({"questions":[{"question":"Which colour?"}]})";
};

TEST_F(SessionManagerEvents, everyEventIsLoggedWithItsFoldedName)
{
    handle(EventBuilder(Type::legacyPreToolUse).session(QStringLiteral("abc")));

    EXPECT_TRUE(log.contains(QStringLiteral("SessionManager.handleEvent: type=PreToolUse session=abc")));
}

TEST_F(SessionManagerEvents, eventWithoutKindIsANotificationWithoutType)
{
    const SessionPtr session = sessionIn(State::working);
    HookEvent event;
    event.sessionID = QStringLiteral("s");
    event.message = QStringLiteral("Hello");

    handle(event);

    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->lastMessage(), QStringLiteral("Hello"));
}

TEST_F(SessionManagerEvents, stopKeepsItsTextAsLastMessage)
{
    const SessionPtr session = sessionIn(State::working);

    handle(EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("Done.")).message(QStringLiteral("other")));

    EXPECT_EQ(session->lastMessage(), QStringLiteral("Done."));
}

TEST_F(SessionManagerEvents, stopWithoutTextTakesTheMessage)
{
    const SessionPtr session = sessionIn(State::working);

    handle(EventBuilder(Type::stop).message(QStringLiteral("Stopped")));

    EXPECT_EQ(session->lastMessage(), QStringLiteral("Stopped"));
}

TEST_F(SessionManagerEvents, stopWithNeitherClearsTheLastMessage)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QStringLiteral("old"));

    handle(EventBuilder(Type::stop));

    EXPECT_EQ(session->lastMessage(), std::nullopt);
}

TEST_F(SessionManagerEvents, stopThatAsksLeavesTheAttentionDate)
{
    const SessionPtr session = sessionIn(State::working);

    handle(EventBuilder(Type::stop).lastAssistantMessage(QStringLiteral("Go on?\na\nb")));

    EXPECT_EQ(session->state(), State::hasQuestion);
    EXPECT_EQ(session->lastAttentionDate(), std::nullopt);
}

TEST_F(SessionManagerEvents, promptClearsWhatTheLastTurnLeft)
{
    const SessionPtr session = sessionIn(State::hasQuestion);
    handle(EventBuilder(Type::preToolUse)
               .tool(QStringLiteral("AskUserQuestion"))
               .detail(QStringLiteral("d"))
               .input(question));
    ASSERT_TRUE(session->questions().has_value());

    handle(EventBuilder(Type::userPromptSubmit).prompt(QStringLiteral("next")));

    EXPECT_EQ(session->toolName(), std::nullopt);
    EXPECT_EQ(session->toolDetail(), std::nullopt);
    EXPECT_EQ(session->questions(), std::nullopt);
    EXPECT_EQ(session->lastPrompt(), QStringLiteral("next"));
}

TEST_F(SessionManagerEvents, promptsOwnToolOutlivesTheClearing)
{
    const SessionPtr session = sessionIn(State::working);
    session->setToolName(QStringLiteral("Bash"));

    handle(EventBuilder(Type::userPromptSubmit).tool(QStringLiteral("Read")).detail(QStringLiteral("file")));

    EXPECT_EQ(session->toolName(), QStringLiteral("Read"));
    EXPECT_EQ(session->toolDetail(), QStringLiteral("file"));
}

TEST_F(SessionManagerEvents, promptsGatherInOrderAndEmptyOnesAreLeftOut)
{
    const SessionPtr session = sessionIn(State::ready);

    handle(EventBuilder(Type::userPromptSubmit).prompt(QStringLiteral("one")));
    handle(EventBuilder(Type::userPromptSubmit).prompt(QString()));
    handle(EventBuilder(Type::userPromptSubmit));
    handle(EventBuilder(Type::userPromptSubmit).prompt(QStringLiteral("one")));

    EXPECT_EQ(session->promptHistory(), (QStringList { QStringLiteral("one"), QStringLiteral("one") }));
    EXPECT_EQ(session->lastPrompt(), QStringLiteral("one"));
}

TEST_F(SessionManagerEvents, promptOfAnotherEventIsKeptButNotCounted)
{
    const SessionPtr session = sessionIn(State::ready);

    handle(EventBuilder(Type::stop).prompt(QStringLiteral("p")));

    EXPECT_EQ(session->lastPrompt(), QStringLiteral("p"));
    EXPECT_TRUE(session->promptHistory().isEmpty());
}

TEST_F(SessionManagerEvents, announcedQuestionIsKeptWithoutMovingTheAttentionDate)
{
    const SessionPtr session = sessionIn(State::working);

    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("AskUserQuestion")).input(question));

    ASSERT_TRUE(session->questions().has_value());
    EXPECT_EQ(session->questions()->front().question, QStringLiteral("Which colour?"));
    EXPECT_EQ(session->lastAttentionDate(), std::nullopt);
}

TEST_F(SessionManagerEvents, questionOutlivesOtherToolCalls)
{
    const SessionPtr session = sessionIn(State::working);
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("AskUserQuestion")).input(question));

    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Read")));

    EXPECT_EQ(session->state(), State::hasQuestion);
    EXPECT_TRUE(session->questions().has_value());
    EXPECT_EQ(session->toolHistory(), QStringList { QStringLiteral("Read") });
}

TEST_F(SessionManagerEvents, answeredQuestionIsCleared)
{
    const SessionPtr session = sessionIn(State::working);
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("AskUserQuestion")).input(question));

    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("AskUserQuestion")));

    EXPECT_EQ(session->state(), State::working);
    EXPECT_EQ(session->questions(), std::nullopt);
}

TEST_F(SessionManagerEvents, planIsShownForReview)
{
    const SessionPtr session = sessionIn(State::working);
    const EventBuilder event =
        EventBuilder(Type::preToolUse).tool(QStringLiteral("ExitPlanMode")).detail(QStringLiteral("# Plan"));

    handle(event);

    EXPECT_EQ(session->toolName(), QStringLiteral("ExitPlanMode"));
    EXPECT_EQ(session->toolDetail(), QStringLiteral("Plan review"));
    EXPECT_EQ(session->lastAttentionDate(), clock.now());
}

TEST_F(SessionManagerEvents, finishedToolIsRememberedAndClearedFromTheRow)
{
    const SessionPtr session = sessionIn(State::working);
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("Bash")).detail(QStringLiteral("ls")));

    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Bash")).detail(QStringLiteral("ls")));
    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Bash")));
    handle(EventBuilder(Type::postToolUse));

    EXPECT_EQ(session->toolName(), std::nullopt);
    EXPECT_EQ(session->toolDetail(), std::nullopt);
    EXPECT_EQ(session->toolHistory(), (QStringList { QStringLiteral("Bash"), QStringLiteral("Bash") }));
}

class FinishedTool : public SessionManagerEvents, public ::testing::WithParamInterface<std::pair<const char *, bool>>
{};

TEST_P(FinishedTool, samplesTheDiffWhenItMayHaveChangedFiles)
{
    const SessionPtr session = sessionIn(State::working);
    session->setCwd(QStringLiteral("/nonexistent"));

    handle(EventBuilder(Type::postToolUse).tool(QString::fromUtf8(GetParam().first)));
    finishSampling();

    EXPECT_EQ(session->gitLinesAdded().has_value(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Tools, FinishedTool,
                         ::testing::Values(std::pair("Write", true), std::pair("Edit", true), std::pair("Bash", true),
                                           std::pair("MultiEdit", true), std::pair("NotebookEdit", true),
                                           std::pair("Read", false), std::pair("bash", false), std::pair("", false)));

TEST_F(SessionManagerEvents, diffIsNotSampledWhileAQuestionIsOpen)
{
    const SessionPtr session = sessionIn(State::hasQuestion);
    session->setCwd(QStringLiteral("/nonexistent"));

    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Write")));
    finishSampling();

    EXPECT_EQ(session->gitLinesAdded(), std::nullopt);
}

TEST_F(SessionManagerEvents, sampledDiffIsPublishedAndNotSaved)
{
    const SessionPtr session = sessionIn(State::working);
    session->setCwd(QStringLiteral("/nonexistent"));
    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Write")));
    store.journal.clear();

    finishSampling();

    EXPECT_EQ(store.journal, QStringList { QStringLiteral("publish") });
}

TEST_F(SessionManagerEvents, permissionRequestForAQuestionDatesOnlyANewOne)
{
    const SessionPtr session = sessionIn(State::working);
    const EventBuilder request = EventBuilder(Type::permissionRequest).tool(QStringLiteral("AskUserQuestion"));
    handle(request);
    const Date first = clock.now();
    clock.advance(Seconds { 1 });

    handle(request);

    EXPECT_EQ(session->lastAttentionDate(), first);
    EXPECT_EQ(attentionCalls(), 2);
}

TEST_F(SessionManagerEvents, permissionRequestWithoutDetailShowsTheLastMessage)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QStringLiteral("I will list the files"));

    handle(EventBuilder(Type::permissionRequest).tool(QStringLiteral("Bash")));

    EXPECT_EQ(session->toolDetail(), QStringLiteral("I will list the files"));
    EXPECT_EQ(session->lastAttentionDate(), clock.now());
}

TEST_F(SessionManagerEvents, permissionRequestKeepsTheDetailOfTheToolCall)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QStringLiteral("I will list the files"));
    handle(EventBuilder(Type::preToolUse).tool(QStringLiteral("Bash")).detail(QStringLiteral("ls")));

    handle(EventBuilder(Type::permissionRequest).tool(QStringLiteral("Bash")));

    EXPECT_EQ(session->toolDetail(), QStringLiteral("ls"));
}

TEST_F(SessionManagerEvents, permissionRequestTakesNoEmptyMessageAsDetail)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QString());

    handle(EventBuilder(Type::permissionRequest).tool(QStringLiteral("Bash")));

    EXPECT_EQ(session->toolDetail(), std::nullopt);
}

TEST_F(SessionManagerEvents, interruptClearsTheToolAndSaysSo)
{
    const SessionPtr session = sessionIn(State::working);
    session->setToolName(QStringLiteral("Bash"));
    session->setToolDetail(QStringLiteral("ls"));

    handle(EventBuilder(Type::postToolUseFailure).interrupt(true));

    EXPECT_EQ(session->toolName(), std::nullopt);
    EXPECT_EQ(session->toolDetail(), QStringLiteral("ls"));
    EXPECT_EQ(session->lastMessage(), QStringLiteral("Interrupted"));
}

TEST_F(SessionManagerEvents, failureWithoutInterruptKeepsToolAndMessage)
{
    const SessionPtr session = sessionIn(State::working);
    session->setToolName(QStringLiteral("Bash"));
    session->setLastMessage(QStringLiteral("m"));

    handle(EventBuilder(Type::postToolUseFailure));

    EXPECT_EQ(session->toolName(), QStringLiteral("Bash"));
    EXPECT_EQ(session->lastMessage(), QStringLiteral("m"));
    EXPECT_TRUE(session->toolHistory().isEmpty());
}

TEST_F(SessionManagerEvents, completedTaskIsIndexed)
{
    const SessionPtr session = sessionIn(State::working);
    handle(EventBuilder(Type::userPromptSubmit).prompt(QStringLiteral("first")));
    handle(EventBuilder(Type::userPromptSubmit).prompt(QStringLiteral("second")));
    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Read")));
    handle(EventBuilder(Type::postToolUse).tool(QStringLiteral("Bash")));
    session->setLastMessage(QStringLiteral("All done"));

    handle(EventBuilder(Type::taskCompleted));

    const test::FakeSessionStore::IndexEntry entry { QStringLiteral("first\nsecond"), QStringLiteral("Read Bash"),
                                                     QStringLiteral("All done") };
    EXPECT_EQ(store.index.value(QStringLiteral("s")), entry);
}

TEST_F(SessionManagerEvents, sessionWithoutHistoryIsIndexedByItsPrompt)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastPrompt(QStringLiteral("restored prompt"));

    handle(EventBuilder(Type::sessionEnd));

    const test::FakeSessionStore::IndexEntry entry { std::nullopt, std::nullopt, QStringLiteral("restored prompt") };
    EXPECT_EQ(store.index.value(QStringLiteral("s")), entry);
}

TEST_F(SessionManagerEvents, sessionEndFinishesTheSession)
{
    const SessionPtr session = sessionIn(State::needsPermission);
    clock.advance(Seconds { 3 });

    handle(EventBuilder(Type::sessionEnd).tool(QStringLiteral("Bash")).cwd(QStringLiteral("/elsewhere")));

    EXPECT_FALSE(session->isAlive());
    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->endedAt(), clock.now());
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_EQ(session->cwd(), std::nullopt);
    EXPECT_EQ(session->toolName(), std::nullopt);
    EXPECT_EQ(store.journal,
              (QStringList { QStringLiteral("index s"), QStringLiteral("save s"), QStringLiteral("publish") }));
}

TEST_F(SessionManagerEvents, sessionEndOfAnUnknownSessionIsIgnored)
{
    handle(EventBuilder(Type::sessionEnd));

    EXPECT_TRUE(manager.sessions().isEmpty());
    EXPECT_TRUE(store.journal.isEmpty());
}

TEST_F(SessionManagerEvents, lateSessionEndStillDatesAFinishedSession)
{
    const SessionPtr session = sessionIn(State::working);
    session->setAlive(false);
    clock.advance(Seconds { 2 });

    handle(EventBuilder(Type::sessionEnd));

    EXPECT_EQ(session->endedAt(), clock.now());
    EXPECT_EQ(session->lastUpdated(), clock.now());
}

TEST_F(SessionManagerEvents, sessionStartRevivesAFinishedSession)
{
    const SessionPtr session = sessionIn(State::working);
    handle(EventBuilder(Type::sessionEnd));
    const std::optional<Date> ended = session->endedAt();
    clock.advance(Seconds { 60 });

    handle(EventBuilder(Type::sessionStart).cwd(QStringLiteral("/p")));

    EXPECT_TRUE(session->isAlive());
    EXPECT_EQ(session->endedAt(), ended);
    EXPECT_EQ(session->lastUpdated(), clock.now());
    EXPECT_EQ(session->cwd(), QStringLiteral("/p"));
    EXPECT_EQ(manager.sessions().size(), 1);
}

TEST_F(SessionManagerEvents, unsetCallbackIsNoHindrance)
{
    manager.onNeedsAttention = nullptr;
    const SessionPtr session = sessionIn(State::working);

    handle(EventBuilder(Type::stop));

    EXPECT_EQ(session->state(), State::ready);
}

TEST_F(SessionManagerEvents, callbackMayHandleAnotherEvent)
{
    const SessionPtr session = sessionIn(State::working);
    manager.onNeedsAttention = [this](const SessionPtr &, const HookEvent &) {
        manager.onNeedsAttention = nullptr;
        handle(EventBuilder(Type::sessionStart).session(QStringLiteral("other")));
    };

    handle(EventBuilder(Type::stop));

    EXPECT_EQ(manager.sessions().size(), 2);
    EXPECT_EQ(session->state(), State::ready);
}

} // namespace
} // namespace vantry
