#include "app/control/SessionCommands.h"

#include "app/control/SessionJson.h"
#include "support/FakeControlClient.h"
#include "support/ManualScheduler.h"
#include "support/RecordingConsole.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTimer>

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::uint16_t port = 49152;

class SessionCommands : public ::testing::Test
{
protected:
    SessionCommands() { listSessions({ "abc-1", "abc-2", "xyz" }); }

    void listSessions(const std::vector<std::string> &ids)
    {
        Json::array_t sessions;
        for (const std::string &id : ids)
            sessions.push_back(Json { { "id", id }, { "isAlive", true } });
        client.document = QString::fromStdString(jsonLine(statusJson(true, true, port, sessions)));
    }

    test::FakeControlClient client;
    test::RecordingConsole console;
};

TEST(ChooseSession, takesTheWholeIDAlthoughAnotherOneBeginsWithIt)
{
    EXPECT_EQ(chooseSession({ u"abc-2"_s, u"abc"_s }, u"abc"_s).id, u"abc"_s);
}

TEST(ChooseSession, takesTheOnlyOneThatBeginsSo)
{
    EXPECT_EQ(chooseSession({ u"abc"_s, u"xyz"_s }, u"x"_s).id, u"xyz"_s);
}

TEST(ChooseSession, tellsCapitalsFromSmallLetters)
{
    EXPECT_FALSE(chooseSession({ u"abc"_s }, u"A"_s).id);
}

TEST(ChooseSession, namesAllThatBeginSo)
{
    const SessionChoice choice = chooseSession({ u"abc-1"_s, u"abc-2"_s, u"xyz"_s }, u"abc"_s);

    EXPECT_FALSE(choice.id);
    EXPECT_TRUE(choice.reason.contains(u"abc-1") && choice.reason.contains(u"abc-2"));
    EXPECT_FALSE(choice.reason.contains(u"xyz"));
}

TEST(ChooseSession, saysThatNoneBeginsSo)
{
    EXPECT_FALSE(chooseSession({}, u"abc"_s).reason.isEmpty());
}

TEST_F(SessionCommands, statusPrintsTheDocumentAsItCame)
{
    EXPECT_EQ(runStatus({ OutputForm::Json }, client, console, port), exitCode::done);

    EXPECT_EQ(console.output, client.document.toStdString() + '\n');
    EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(SessionCommands, statusPrintsATableForPeople)
{
    EXPECT_EQ(runStatus({ OutputForm::Text }, client, console, port), exitCode::done);

    EXPECT_THAT(console.output, HasSubstr("3 sessions"));
    EXPECT_THAT(console.output, HasSubstr("xyz"));
}

TEST_F(SessionCommands, statusGivesScriptsADocumentWhenNothingRuns)
{
    client.stopRunning();

    EXPECT_EQ(runStatus({ OutputForm::Json }, client, console, port), exitCode::notRunning);

    EXPECT_EQ(console.output, "{\"running\":false,\"listening\":false,\"port\":49152,\"sessions\":[]}\n");
}

TEST_F(SessionCommands, statusTellsPeopleInOneLineThatNothingRuns)
{
    client.stopRunning();

    EXPECT_EQ(runStatus({ OutputForm::Text }, client, console, port), exitCode::notRunning);

    EXPECT_EQ(console.output, "");
    EXPECT_THAT(console.errors, ElementsAre("no Vantry is running"));
}

TEST_F(SessionCommands, statusRefusesAnAnswerThatCannotBeRead)
{
    client.document = u"[]"_s;

    EXPECT_EQ(runStatus({ OutputForm::Text }, client, console, port), exitCode::refused);
    EXPECT_EQ(console.errors.size(), 1U);
}

TEST_F(SessionCommands, asksWithTheWholeIdentifier)
{
    EXPECT_EQ(runAllow({ u"xy"_s }, client, console), exitCode::done);
    EXPECT_EQ(runDeny({ u"xyz"_s }, client, console), exitCode::done);
    EXPECT_EQ(runDeny({ u"xyz"_s, command::Deny::Agent::Stops }, client, console), exitCode::done);
    EXPECT_EQ(runAlwaysAllow({ u"abc-1"_s }, client, console), exitCode::done);
    EXPECT_EQ(runKill({ u"abc-2"_s }, client, console), exitCode::done);

    client.calls.removeAll(u"list"_s);
    EXPECT_EQ(client.calls, (QStringList { u"allow xyz"_s, u"deny xyz"_s, u"deny and stop xyz"_s,
                                           u"always-allow abc-1"_s, u"kill abc-2"_s }));
    EXPECT_EQ(console.output, "");
}

TEST_F(SessionCommands, passOnWhatIsTypedAndChosen)
{
    EXPECT_EQ(runSend({ u"xy"_s, u"Go on"_s }, client, console), exitCode::done);
    EXPECT_EQ(runAnswer({ u"xyz"_s, 2 }, client, console), exitCode::done);
    EXPECT_EQ(runFocus({ u"xyz"_s }, client, console), exitCode::done);

    client.calls.removeAll(u"list"_s);
    EXPECT_EQ(client.calls, (QStringList { u"send xyz Go on"_s, u"answer xyz 2"_s, u"focus xyz"_s }));
}

class LaunchCommand : public SessionCommands
{
protected:
    [[nodiscard]] int run(const command::Launch &command) { return runLaunch(command, client, paths, console, clock); }

    QTemporaryDir home;
    Paths paths { .home = home.path(), .dataFolder = home.path(), .configFile = {}, .runtimeFolder = {} };
    test::ManualClock clock;
};

TEST_F(LaunchCommand, makesThePathAbsolute)
{
    EXPECT_EQ(run({ u"."_s }), exitCode::done);
    EXPECT_EQ(run({ home.path() + u"/./"_s, command::Launch::Mode::ContinueLatest, {}, AgentPermissionMode::planMode }),
              exitCode::done);

    EXPECT_EQ(client.calls, (QStringList { u"launch %1 fresh  askPermissions"_s.arg(QDir::currentPath()),
                                           u"launch %1 continueLatest  planMode"_s.arg(home.path()) }));
}

TEST_F(LaunchCommand, needsAFolder)
{
    EXPECT_EQ(run({ home.path() + u"/none"_s }), exitCode::refused);
    EXPECT_EQ(run({ u":/qt"_s }), exitCode::refused) << "a program's own resources are no folder";

    EXPECT_TRUE(client.calls.isEmpty());
    EXPECT_EQ(console.errors.size(), 2U);
}

TEST_F(LaunchCommand, looksForTheSessionToResume)
{
    using Mode = command::Launch::Mode;
    EXPECT_EQ(run({ home.path(), Mode::Resume, u"xy"_s }), exitCode::done);
    EXPECT_TRUE(client.calls.last().startsWith(u"launch %1 resume xyz "_s.arg(home.path())));

    EXPECT_EQ(run({ home.path(), Mode::Resume, u"abc"_s }), exitCode::refused) << "it fits two";
    EXPECT_EQ(run({ home.path(), Mode::Resume, u"none"_s }), exitCode::refused);

    const QString unknown = u"6a0e7f8c-1111-4222-8333-944445555666"_s;
    EXPECT_EQ(run({ home.path(), Mode::Resume, unknown }), exitCode::done) << "the agent may know it";
    EXPECT_TRUE(client.calls.last().contains(unknown));
}

TEST_F(SessionCommands, askForNothingWhenSeveralSessionsFit)
{
    EXPECT_EQ(runKill({ u"abc"_s }, client, console), exitCode::refused);

    EXPECT_EQ(client.calls, QStringList { u"list"_s });
    EXPECT_EQ(console.errors.size(), 1U);
}

TEST_F(SessionCommands, passOnWhyACallIsNotPossible)
{
    client.failure = ControlFailure { ControlFailure::Kind::NotPossible, u"the session asks for no permission"_s };

    EXPECT_EQ(runAllow({ u"xyz"_s }, client, console), exitCode::refused);

    EXPECT_THAT(console.errors, ElementsAre("the session asks for no permission"));
}

TEST_F(SessionCommands, tellThatNothingRuns)
{
    client.stopRunning();

    EXPECT_EQ(runAllow({ u"xyz"_s }, client, console), exitCode::notRunning);
    EXPECT_EQ(console.errors.size(), 1U);
}

TEST_F(SessionCommands, askForWindows)
{
    EXPECT_EQ(runShow(client, console), exitCode::done);
    EXPECT_EQ(runSettings(client, console), exitCode::done);

    EXPECT_EQ(client.calls, (QStringList { u"show"_s, u"settings"_s }));
}

TEST_F(SessionCommands, sayWhyNoWindowIsShown)
{
    client.failure = ControlFailure { ControlFailure::Kind::NotPossible, u"no windows here"_s };
    EXPECT_EQ(runShow(client, console), exitCode::refused);
    EXPECT_EQ(runSettings(client, console), exitCode::refused);

    client.stopRunning();
    EXPECT_EQ(runShow(client, console), exitCode::notRunning);
    EXPECT_EQ(runSettings(client, console), exitCode::notRunning);
}

class QuitCommand : public SessionCommands
{
protected:
    test::ManualClock clock;
    test::ManualScheduler scheduler { clock };
};

TEST_F(QuitCommand, isDoneWhenTheApplicationHasGone)
{
    EXPECT_EQ(runQuit(client, console, scheduler), exitCode::done);
    EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(QuitCommand, isDoneWhenTheApplicationGoesWithoutAnAnswer)
{
    client.failure = ControlFailure { ControlFailure::Kind::Unanswered, u"the running Vantry did not answer"_s };

    EXPECT_EQ(runQuit(client, console, scheduler), exitCode::done);
}

TEST_F(QuitCommand, tellsThatNothingRuns)
{
    client.stopRunning();
    client.endsWhenAsked = false;

    EXPECT_EQ(runQuit(client, console, scheduler), exitCode::notRunning);
}

TEST_F(QuitCommand, waitsForSomeSecondsAtMost)
{
    client.endsWhenAsked = false;
    QTimer::singleShot(0, [this] { scheduler.advance(Seconds { 60 }); });

    EXPECT_EQ(runQuit(client, console, scheduler), exitCode::refused);
    EXPECT_EQ(console.errors.size(), 1U);
}

} // namespace
} // namespace vantry
