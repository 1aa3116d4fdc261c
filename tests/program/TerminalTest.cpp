#include "Eventually.h"
#include "Vantry.h"

#include "desktop/support/TypedInput.h"
#include "platform/TmuxServer.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <signal.h>

namespace vantry::test {
namespace {

using ::testing::HasSubstr;

/// An agent-like program in a real tmux pane, and the session "one" whose hook has reported that pane.
class Terminal : public ::testing::Test
{
protected:
    void SetUp() override
    {
        vantry.start();
        pane = tmux.openWindow(agent.command());
        ASSERT_TRUE(agent.waitUntilReady());
        report(event("SessionStart", "one"));
        ASSERT_TRUE(vantry.shows("one", "terminalType", "tmux-pane"));
    }

    /// Posts the event as the hook in the pane does.
    void report(Json payload) const
    {
        payload["terminal_type"] = "tmux-pane";
        payload["terminal_session_id"] = target();
        vantry.post(payload);
    }
    [[nodiscard]] std::string target() const { return QString(tmux.socket() + u',' + pane).toStdString(); }

    void expectDone(const QStringList &command) const
    {
        const CommandResult result = vantry.run(command);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out, "");
    }
    void expectRefused(const QStringList &command, const char *reason) const
    {
        const CommandResult result = vantry.run(command);
        EXPECT_EQ(result.exitCode, 1) << command.join(u' ').toStdString();
        EXPECT_THAT(result.err, HasSubstr(reason));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
    void expectTyped(const QByteArray &bytes) const { EXPECT_EQ(agent.waitForBytes(bytes.size()), bytes); }

    void ask(const Json::array_t &questions) const
    {
        report(event("PreToolUse", "one",
                     { { "tool_name", "AskUserQuestion" }, { "tool_input", { { "questions", questions } } } }));
        ASSERT_TRUE(vantry.shows("one", "state", "has_question"));
    }
    [[nodiscard]] static Json question(bool multiSelect = false)
    {
        return { { "question", "Which?" },
                 { "multiSelect", multiSelect },
                 { "options", Json::array({ { { "label", "A" } }, { { "label", "B" } } }) } };
    }
    [[nodiscard]] QString currentPane() const { return tmux.run({ "display-message", "-p", "-t", "main", "#D" }); }

    Vantry vantry;
    TmuxServer tmux;
    TypedInput agent { tmux.folder() + "/agent" };
    QString pane;
};

TEST_F(Terminal, sendTypesALine)
{
    expectDone({ "send", "one", "Go on" });

    expectTyped("Go on\r");
}

TEST_F(Terminal, sendTypesEveryTextAsItStands)
{
    QByteArray expected;
    for (const QString &text : awkwardTexts()) {
        expectDone({ "send", "--", "on", text });
        expected += text.trimmed().toUtf8() + '\r';
        expectTyped(expected);
    }
}

TEST_F(Terminal, sendJoinsItsWordsAndTheLinesOfAText)
{
    expectDone({ "send", "one", "several", "words\nin lines" });

    expectTyped("several wordsin lines\r");
}

TEST_F(Terminal, sendTypesALongText)
{
    const QString text(10'000, u'ä');
    expectDone({ "send", "one", text });

    expectTyped(text.toUtf8() + '\r');
}

TEST_F(Terminal, sendTypesNothingIntoAnOpenDialog)
{
    HookCall call = HookCall::post(permissionRequest("one"));
    ASSERT_TRUE(vantry.shows("one", "heldPermissions", 1));

    expectRefused({ "send", "one", "Hello" }, "permission");

    EXPECT_EQ(agent.typed(), "");
    EXPECT_TRUE(call.isWaiting());
}

TEST_F(Terminal, sendSaysThatThePaneIsGone)
{
    tmux.run({ "kill-pane", "-t", pane });

    expectRefused({ "send", "one", "Hello" }, "");
    EXPECT_TRUE(vantry.isRunning());
}

TEST_F(Terminal, sendIsRefusedWhereNothingCanBeTyped)
{
    vantry.post(event("SessionStart", "two", { { "terminal_type", "vscode" }, { "terminal_session_id", "" } }));
    ASSERT_TRUE(vantry.shows("two", "terminalType", "vscode"));

    expectRefused({ "send", "two", "Hello" }, "typed");

    EXPECT_EQ(vantry.logLinesWith("TerminalBridge: sendText not supported for 'vscode' — focusing terminal instead"),
              1);
    EXPECT_EQ(vantry.logLinesWith("TerminalBridge: com.microsoft.VSCode not running, cannot focus"), 1);
}

TEST_F(Terminal, answerTakesAnOption)
{
    ask({ question() });

    expectRefused({ "answer", "one", "2" }, "option");
    expectDone({ "answer", "one", "1" });

    expectTyped("2");
}

TEST_F(Terminal, answerIsRefusedWhereOneChoiceIsNotEnough)
{
    ask({ question(true) });
    expectRefused({ "answer", "one", "0" }, "choice");

    ask({ question(), question() });
    expectRefused({ "answer", "one", "0" }, "choice");

    EXPECT_EQ(agent.typed(), "");
}

TEST_F(Terminal, sendIsTheFreeAnswerToAQuestion)
{
    ask({ question() });

    expectDone({ "send", "one", "Neither" });

    expectTyped("3Neither\r");
}

TEST_F(Terminal, allowIsTypedWhereNoRequestIsHeld)
{
    report(event("Notification", "one",
                 { { "notification_type", "permission_prompt" }, { "message", "Claude needs your permission" } }));
    ASSERT_TRUE(vantry.shows("one", "state", "needs_permission"));

    expectDone({ "allow", "one" });

    expectTyped("\r");
    EXPECT_TRUE(vantry.shows("one", "state", "working"));
}

TEST_F(Terminal, allowOfAPlanIsAnsweredAndTyped)
{
    HookCall call = HookCall::post(permissionRequest("one", { { "tool_name", "ExitPlanMode" } }));
    ASSERT_TRUE(vantry.shows("one", "heldPermissions", 1));

    expectDone({ "allow", "one" });

    EXPECT_THAT(call.body(), HasSubstr("allow"));
    expectTyped("2");
}

TEST_F(Terminal, focusShowsThePane)
{
    tmux.openWindow({ "sleep", "1000000" });
    ASSERT_NE(currentPane(), pane);
    const auto client = vantry.other(
        "env", { "TERM=xterm", "script", "-qfc", "exec tmux -S '" + tmux.socket() + "' attach -t main", "/dev/null" });
    ASSERT_TRUE(eventually([this] { return !tmux.run({ "list-clients" }).isEmpty(); }));

    expectDone({ "focus", "one" });

    EXPECT_EQ(currentPane(), pane);
}

TEST_F(Terminal, killEndsTheAgentAndClosesItsPane)
{
    FakeAgent process;
    report(event("UserPromptSubmit", "one", { { "pid", process.pid() } }));
    ASSERT_TRUE(vantry.shows("one", "pid", process.pid()));

    expectDone({ "kill", "one" });

    EXPECT_EQ(process.signalThatEndedIt(), SIGTERM);
    EXPECT_TRUE(eventually([this] {
        return !tmux.run({ "list-panes", "-a", "-F", "#D" }).split('\n').contains(pane);
    }));
    EXPECT_EQ(vantry.session("one").at("statusText"), "Finished");
}

TEST_F(Terminal, doctorLooksAtThePane)
{
    const auto terminalChecks = [this] {
        Json found = Json::array();
        const Json report = Json::parse(vantry.run({ "doctor", "--json" }).out);
        for (const Json &check : report.at("checks")) {
            if (check.at("name") == "terminal" || check.at("name") == "terminals")
                found.push_back(check);
        }
        return found;
    };
    EXPECT_EQ(terminalChecks().at(0).at("ok"), true);

    tmux.run({ "kill-pane", "-t", pane });

    const Json checks = terminalChecks();
    EXPECT_EQ(checks.at(0).at("ok"), false) << checks.dump();
    EXPECT_TRUE(checks.at(0).at("advice").is_string());
}

/// Launches go to the tmux of the session "one", whose windows run login shells that find a fake agent.
class Launching : public Terminal
{
protected:
    void SetUp() override
    {
        Terminal::SetUp();
        QDir(vantry.home()).mkpath("bin");
        QDir(vantry.home()).mkpath("my shop");
        write("bin/claude", "#!/bin/sh\n[ \"$1\" != --help ] || { echo '  --permission-mode <mode>'; exit; }\n"
                            "{ pwd; printf '%s\\n' \"$@\"; } > \"$HOME/launched.new\"\n"
                            "mv \"$HOME/launched.new\" \"$HOME/launched\"\n");
        QFile::setPermissions(vantry.home() + "/bin/claude", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        for (const char *profile : { ".profile", ".bash_profile", ".zprofile" })
            write(profile, "PATH=\"$HOME/bin:$PATH\"; export PATH\n");
        tmux.run({ "set-environment", "-g", "HOME", vantry.home() });
    }

    void write(const QString &name, const char *text) const
    {
        QFile file(vantry.home() + '/' + name);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(text);
    }
    /// The agent's working directory and its arguments, one to a line.
    [[nodiscard]] QByteArray launched() const
    {
        QFile file(vantry.home() + "/launched");
        EXPECT_TRUE(eventually([&] { return file.exists(); }, std::chrono::seconds(60))) << "nothing was launched";
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] QByteArray folder() const { return (vantry.home() + "/my shop\n").toUtf8(); }
};

TEST_F(Launching, startsTheAgentInTheProjectsFolder)
{
    expectDone({ "launch", "my shop" });

    EXPECT_EQ(launched(), folder() + "\n");
}

TEST_F(Launching, resumesASession)
{
    expectDone({ "launch", vantry.home() + "/my shop/", "--resume", "on", "--mode", "bypassPermissions" });

    EXPECT_EQ(launched(), folder() + "--resume\none\n--dangerously-skip-permissions\n");
}

TEST_F(Launching, asksTheAgentHowItTakesAPermissionMode)
{
    expectDone({ "launch", "my shop", "--continue", "--mode", "planMode" });

    EXPECT_EQ(launched(), folder() + "--continue\n--permission-mode\nplan\n");
}

TEST_F(Launching, isRefusedWhereThereIsNoFolderOrNoSession)
{
    expectRefused({ "launch", "nowhere" }, "nowhere");
    expectRefused({ "launch", "my shop", "--resume", "none" }, "none");
}

} // namespace
} // namespace vantry::test
