#include "sessions/SessionManagerFixture.h"

namespace vantry {
namespace {

using test::EventBuilder;
using State = SessionState;

class SessionNotifications : public test::SessionManagerFixture
{
protected:
    static EventBuilder notification(NotificationType type)
    {
        return EventBuilder(HookEventType::notification).notification(type);
    }
    static EventBuilder permissionPrompt() { return notification(NotificationType::permissionPrompt); }
};

TEST_F(SessionNotifications, messageIsKept)
{
    const SessionPtr session = sessionIn(State::working);

    handle(notification(NotificationType::idlePrompt).message(QStringLiteral("Waiting for your input")));

    EXPECT_EQ(session->lastMessage(), QStringLiteral("Waiting for your input"));
}

TEST_F(SessionNotifications, missingMessageClearsTheLastOne)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QStringLiteral("old"));

    handle(notification(NotificationType::authSuccess));

    EXPECT_EQ(session->lastMessage(), std::nullopt);
}

TEST_F(SessionNotifications, idlenessDuringAQuestionKeepsItAndStillTakesTheMessage)
{
    const SessionPtr session = sessionIn(State::hasQuestion);

    handle(notification(NotificationType::idlePrompt).message(QStringLiteral("Waiting")));

    EXPECT_EQ(session->state(), State::hasQuestion);
    EXPECT_EQ(session->lastMessage(), QStringLiteral("Waiting"));
    EXPECT_EQ(attentionCalls(), 0);
}

TEST_F(SessionNotifications, permissionPromptNamesTheToolItAsksFor)
{
    const SessionPtr session = sessionIn(State::working);

    handle(permissionPrompt().message(QStringLiteral("Claude needs your permission to use bash.")));

    EXPECT_EQ(session->state(), State::needsPermission);
    EXPECT_EQ(session->toolName(), QStringLiteral("Bash"));
    EXPECT_EQ(session->lastAttentionDate(), clock.now());
}

TEST_F(SessionNotifications, permissionPromptWithoutThePhraseNamesNoTool)
{
    const SessionPtr session = sessionIn(State::working);

    handle(permissionPrompt().message(QStringLiteral("Claude needs your permission")));

    EXPECT_EQ(session->state(), State::needsPermission);
    EXPECT_EQ(session->toolName(), std::nullopt);
}

TEST_F(SessionNotifications, permissionPromptKeepsAToolThatIsKnown)
{
    const SessionPtr session = sessionIn(State::working);
    session->setToolName(QString());

    handle(permissionPrompt().message(QStringLiteral("permission to use bash")));

    EXPECT_EQ(session->toolName(), QString()) << "an empty name is one, too";
}

TEST_F(SessionNotifications, permissionPromptShowsThePreviousMessageAsDetail)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QStringLiteral("I will remove the folder"));

    handle(permissionPrompt().message(QStringLiteral("Claude needs your permission")));

    EXPECT_EQ(session->toolDetail(), QStringLiteral("I will remove the folder"));
    EXPECT_EQ(session->lastMessage(), QStringLiteral("Claude needs your permission"));
}

TEST_F(SessionNotifications, permissionPromptKeepsADetailThatIsKnown)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QStringLiteral("I will remove the folder"));
    session->setToolDetail(QStringLiteral("rm -r folder"));

    handle(permissionPrompt().message(QStringLiteral("Claude needs your permission")));

    EXPECT_EQ(session->toolDetail(), QStringLiteral("rm -r folder"));
}

TEST_F(SessionNotifications, promptThatAsksForNothingChangesNoToolAndNoDate)
{
    const SessionPtr session = sessionIn(State::working);
    session->setLastMessage(QStringLiteral("old"));

    handle(permissionPrompt().message(QStringLiteral("Something else")));

    EXPECT_EQ(session->state(), State::ready);
    EXPECT_EQ(session->lastAttentionDate(), std::nullopt);
    EXPECT_EQ(session->toolDetail(), std::nullopt);
    EXPECT_EQ(session->lastMessage(), QStringLiteral("Something else"));
}

TEST_F(SessionNotifications, permissionPromptByToolAloneNeedsNoMessage)
{
    const SessionPtr session = sessionIn(State::working);

    handle(permissionPrompt().tool(QStringLiteral("Write")));

    EXPECT_EQ(session->state(), State::needsPermission);
    EXPECT_EQ(session->toolName(), QStringLiteral("Write"));
    EXPECT_EQ(session->lastMessage(), std::nullopt);
}

TEST_F(SessionNotifications, emptyToolNameCountsAsATool)
{
    const SessionPtr session = sessionIn(State::working);

    handle(permissionPrompt().tool(QString()).message(QStringLiteral("m")));

    EXPECT_EQ(session->state(), State::needsPermission);
}

} // namespace
} // namespace vantry
