#include "SessionFixture.h"

#include "app/control/ControlService.h"
#include "hooks/HTTPHookServer.h"
#include "sessions/SessionChanges.h"
#include "support/FakeControlEndpoint.h"
#include "support/FakePeerIdentity.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <limits>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using test::EventBuilder;
using Kind = ControlOutcome::Kind;

class ControlServiceTest : public test::SessionFixture
{
protected:
    ControlServiceTest() { control.publish(); }

    /// What a call's reply was; a reply is due once.
    class Answered
    {
    public:
        [[nodiscard]] ControlRequests::Reply reply()
        {
            return [this](const ControlOutcome &given) {
                ++times;
                outcome = given;
            };
        }

        int times { 0 };
        ControlOutcome outcome;
    };
    /// Calls, and waits for the reply.
    template <typename Call>
    ControlOutcome outcomeOf(Call call)
    {
        Answered answered;
        call(answered.reply());
        EXPECT_TRUE(eventually([&] { return answered.times > 0; })) << "no reply came";
        EXPECT_EQ(answered.times, 1);
        return answered.outcome;
    }
    ControlOutcome allow(const QString &id)
    {
        return outcomeOf([&](auto reply) { control.allow(id, reply); });
    }
    ControlOutcome deny(const QString &id, bool stop)
    {
        return outcomeOf([&](auto reply) { control.deny(id, stop, reply); });
    }
    ControlOutcome alwaysAllow(const QString &id)
    {
        return outcomeOf([&](auto reply) { control.alwaysAllow(id, reply); });
    }
    ControlOutcome kill(const QString &id)
    {
        return outcomeOf([&](auto reply) { control.kill(id, reply); });
    }
    ControlOutcome answer(const QString &id, int index)
    {
        return outcomeOf([&](auto reply) { control.answer(id, index, reply); });
    }
    ControlOutcome send(const QString &id, const QString &text)
    {
        return outcomeOf([&](auto reply) { control.send(id, text, reply); });
    }
    ControlOutcome focus(const QString &id)
    {
        return outcomeOf([&](auto reply) { control.focus(id, reply); });
    }
    ControlOutcome launch(const QString &path, const QString &mode, const QString &id, const QString &permissionMode)
    {
        return outcomeOf([&](auto reply) { control.launch(path, mode, id, permissionMode, reply); });
    }
    /// The agent asks one question with two options.
    void askQuestion()
    {
        manager.handleEvent(
            EventBuilder(HookEventType::preToolUse)
                .tool(u"AskUserQuestion"_s)
                .input(R"({"questions":[{"question":"Which?","options":[{"label":"A"},{"label":"B"}]}]})"));
    }

    test::FakePeerIdentity peers;
    HTTPHookServer server { mainQueue, scheduler, log, peers, 47'392 };
    SessionChanges changes { manager, mainQueue };
    test::FakeControlEndpoint endpoint;
    ControlService control { { clock, server, manager, held, actions, bridge, changes, endpoint }, u"/nonexistent"_s };
};

TEST_F(ControlServiceTest, listsTheSessionsWithTheirRequests)
{
    hold(request().suggestion("{}"));

    const Json document = Json::parse(control.list().toStdString());

    EXPECT_EQ(document.at("running"), true);
    EXPECT_EQ(document.at("listening"), false);
    EXPECT_EQ(document.at("port"), 47'392);
    EXPECT_EQ(document.at("sessions").at(0).at("heldPermissions"), 1);
    EXPECT_EQ(document.at("sessions").at(0).at("hasAlwaysAllowSuggestions"), true);
}

TEST_F(ControlServiceTest, knowsNoSessionOfAnotherIdentifier)
{
    const QString huge(1'000'000, u'x');
    for (const QString &id : { u""_s, u"none"_s, huge }) {
        EXPECT_EQ(allow(id).kind, Kind::NoSuchSession);
        EXPECT_EQ(deny(id, true).kind, Kind::NoSuchSession);
        EXPECT_EQ(alwaysAllow(id).kind, Kind::NoSuchSession);
        EXPECT_EQ(kill(id).kind, Kind::NoSuchSession);
        EXPECT_EQ(answer(id, 0).kind, Kind::NoSuchSession);
        EXPECT_EQ(send(id, u"Hello"_s).kind, Kind::NoSuchSession);
        EXPECT_EQ(focus(id).kind, Kind::NoSuchSession);
    }
}

TEST_F(ControlServiceTest, takesWholeIdentifiersOnly)
{
    hold(request().session(u"session"_s));

    EXPECT_EQ(allow(u"sess"_s).kind, Kind::NoSuchSession);
}

TEST_F(ControlServiceTest, answersARequestOnce)
{
    const auto connection = hold(request());

    EXPECT_EQ(allow(u"s"_s).kind, Kind::Done);
    EXPECT_EQ(allow(u"s"_s).kind, Kind::NotPossible);
    EXPECT_EQ(deny(u"s"_s, false).kind, Kind::NotPossible);
    EXPECT_EQ(alwaysAllow(u"s"_s).kind, Kind::NotPossible);
    EXPECT_TRUE(connection->status);
}

TEST_F(ControlServiceTest, saysThatAQuestionIsInATerminalThatCannotBeTypedInto)
{
    runIn(u"terminal"_s);
    askInTerminal();

    for (const ControlOutcome &outcome : { allow(u"s"_s), alwaysAllow(u"s"_s) }) {
        EXPECT_EQ(outcome.kind, Kind::NotPossible);
        EXPECT_TRUE(outcome.reason.contains(u"terminal"));
    }
    EXPECT_EQ(session()->state(), SessionState::needsPermission);
    EXPECT_EQ(scripts.scripts.size(), 2) << "it is brought forward each time";
    EXPECT_EQ(deny(u"s"_s, false).kind, Kind::Done);
}

TEST_F(ControlServiceTest, allowsInATerminalThatCanBeTypedInto)
{
    runIn(u"tmux-pane"_s);
    askInTerminal();

    EXPECT_EQ(allow(u"s"_s).kind, Kind::Done);

    EXPECT_EQ(terminal.calls(), QStringList { u"return 7"_s });
    EXPECT_EQ(session()->state(), SessionState::working);
}

TEST_F(ControlServiceTest, tellsThatATerminalFailed)
{
    runIn(u"tmux-pane"_s);
    terminal.setFailure(u"the pane is gone"_s);

    for (const ControlOutcome &outcome : { send(u"s"_s, u"Hello"_s), focus(u"s"_s) }) {
        EXPECT_EQ(outcome.kind, Kind::NotPossible);
        EXPECT_TRUE(outcome.reason.contains(u"the pane is gone")) << outcome.reason.toStdString();
    }
}

TEST_F(ControlServiceTest, sendsALine)
{
    runIn(u"tmux-pane"_s);

    EXPECT_EQ(send(u"s"_s, u" Hello "_s).kind, Kind::Done);

    EXPECT_EQ(terminal.calls().value(0), u"type 7: Hello"_s);
}

TEST_F(ControlServiceTest, sendsNothingIntoADialog)
{
    runIn(u"tmux-pane"_s);
    const auto connection = hold(request());

    const ControlOutcome outcome = send(u"s"_s, u"Hello"_s);

    EXPECT_EQ(outcome.kind, Kind::NotPossible);
    EXPECT_FALSE(outcome.reason.isEmpty());
    EXPECT_EQ(terminal.calls(), QStringList { u"focus 7"_s });
    EXPECT_FALSE(connection->status);
}

TEST_F(ControlServiceTest, sendsNothingToAFinishedSession)
{
    runIn(u"tmux-pane"_s);
    manager.handleEvent(EventBuilder(HookEventType::sessionEnd));

    EXPECT_EQ(send(u"s"_s, u"Hello"_s).kind, Kind::NotPossible);
    EXPECT_EQ(answer(u"s"_s, 0).kind, Kind::NotPossible);
    EXPECT_TRUE(terminal.calls().isEmpty());
}

TEST_F(ControlServiceTest, answersAQuestionByItsOption)
{
    runIn(u"tmux-pane"_s);
    askQuestion();

    EXPECT_EQ(answer(u"s"_s, 1).kind, Kind::Done);

    EXPECT_EQ(terminal.calls(), QStringList { u"type 7: 2"_s });
}

TEST_F(ControlServiceTest, refusesAnOptionThatIsNotThere)
{
    runIn(u"tmux-pane"_s);
    askQuestion();

    for (const int index : { -1, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min() })
        EXPECT_EQ(answer(u"s"_s, index).kind, Kind::NotPossible);
    EXPECT_TRUE(terminal.calls().isEmpty());
}

TEST_F(ControlServiceTest, refusesToChooseWhereNothingIsAsked)
{
    runIn(u"tmux-pane"_s);

    EXPECT_EQ(answer(u"s"_s, 0).kind, Kind::NotPossible);
    manager.handleEvent(EventBuilder(HookEventType::stop).lastAssistantMessage(u"Which one?"_s));
    EXPECT_EQ(answer(u"s"_s, 0).kind, Kind::NotPossible) << "it asks in words";
    EXPECT_EQ(terminal.calls().filter(u"type"_s), QStringList());
}

TEST_F(ControlServiceTest, launchesAnAgent)
{
    QTemporaryDir project;
    runIn(u"tmux-pane"_s);

    EXPECT_EQ(launch(project.path(), u"continueLatest"_s, u""_s, u"askPermissions"_s).kind, Kind::Done);

    EXPECT_EQ(terminal.calls().last(), u"open 7: %1: cd '%1' && claude --continue"_s.arg(project.path()));
}

TEST_F(ControlServiceTest, launchesNothingThatIsNotAskedForProperly)
{
    QTemporaryDir project;
    runIn(u"tmux-pane"_s);
    const QString path = project.path();

    EXPECT_EQ(launch(path, u"nonsense"_s, u""_s, u"askPermissions"_s).kind, Kind::NotPossible);
    EXPECT_EQ(launch(path, u"fresh"_s, u""_s, u"nonsense"_s).kind, Kind::NotPossible);
    EXPECT_EQ(launch(path, u"fresh"_s, u""_s, u""_s).kind, Kind::NotPossible);
    EXPECT_EQ(launch(path, u"resume"_s, u""_s, u"askPermissions"_s).kind, Kind::NotPossible);
    EXPECT_EQ(launch(path, u"resume"_s, u"--dangerously-skip-permissions"_s, u"askPermissions"_s).kind,
              Kind::NotPossible);
    EXPECT_EQ(launch(u"relative"_s, u"fresh"_s, u""_s, u"askPermissions"_s).kind, Kind::NotPossible);
    EXPECT_EQ(launch(u""_s, u"fresh"_s, u""_s, u"askPermissions"_s).kind, Kind::NotPossible);
    EXPECT_EQ(launch(path + u"/none"_s, u"fresh"_s, u""_s, u"askPermissions"_s).kind, Kind::NotPossible);
    EXPECT_TRUE(terminal.calls().isEmpty());
}

TEST_F(ControlServiceTest, announcesHowFarTheBackfillIs)
{
    control.announceBackfill(2, 5'000'000'000);

    ASSERT_EQ(endpoint.backfill.size(), 1);
    EXPECT_EQ(endpoint.backfill.first(), (std::pair { 2U, std::numeric_limits<std::uint32_t>::max() }));
}

TEST_F(ControlServiceTest, killsASessionOnce)
{
    manager.handleEvent(EventBuilder(HookEventType::sessionStart));

    EXPECT_EQ(kill(u"s"_s).kind, Kind::Done);
    EXPECT_EQ(kill(u"s"_s).kind, Kind::NotPossible);
}

TEST_F(ControlServiceTest, showsWindowsOnlyWhereThereAreAny)
{
    EXPECT_FALSE(control.showPanel());
    EXPECT_FALSE(control.showSettings());
    QStringList shown;
    control.onShowPanel = [&] { shown.append(u"panel"_s); };
    control.onShowSettings = [&] { shown.append(u"settings"_s); };

    EXPECT_TRUE(control.showPanel());
    EXPECT_TRUE(control.showSettings());

    EXPECT_EQ(shown, (QStringList { u"panel"_s, u"settings"_s }));
}

TEST_F(ControlServiceTest, passesTheRequestToQuitOn)
{
    control.quit();
    int requests = 0;
    control.onQuit = [&] { ++requests; };

    control.quit();

    EXPECT_EQ(requests, 1);
}

TEST_F(ControlServiceTest, announcesNothingAfterItWasWithdrawn)
{
    control.withdraw();

    manager.handleEvent(EventBuilder(HookEventType::sessionStart));
    mainQueue.drainAll();

    EXPECT_TRUE(endpoint.changed.isEmpty());
    EXPECT_EQ(endpoint.withdrawals, 1);
}

} // namespace
} // namespace vantry
