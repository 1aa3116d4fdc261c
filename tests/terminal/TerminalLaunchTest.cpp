#include "TerminalBridgeFixture.h"

#include <QDir>
#include <QTemporaryDir>

#include <atomic>

namespace vantry::test {
namespace {

class TerminalLaunch : public TerminalBridgeFixture
{
protected:
    /// A desktop without terminals that can be driven.
    void haveNoDrivers() { drivers.clear(); }
    void addLive(const QString &type, const QString &terminalSessionID, int startedAt, bool isAlive = true)
    {
        const SessionPtr session = sessionIn(type, terminalSessionID);
        session->setStartedAt(Date { std::chrono::seconds { startedAt } });
        session->setAlive(isAlive);
        live.append(session);
    }
    void launch(const QString &path, AgentPermissionMode mode = AgentPermissionMode::askPermissions)
    {
        bridge().launchClaude(path, TerminalBridge::Fresh {}, { mode }, {}, keep());
    }
    void launchHere(AgentPermissionMode mode = AgentPermissionMode::askPermissions) { launch(folder.path(), mode); }
    [[nodiscard]] QString opened(const QString &id, const QString &arguments = {}) const
    {
        return u"open "_s + id + u": "_s + folder.path() + u": cd '"_s + folder.path() + u"' && claude"_s + arguments;
    }
    [[nodiscard]] QString launching(const QString &name) const
    {
        return u"TerminalBridge: launching claude in "_s + folder.path() + u" via "_s + name;
    }

    QTemporaryDir folder;
};

TEST_F(TerminalLaunch, opensATabOfITerm2)
{
    haveNoDrivers();
    applications.names = { u"iTerm2"_s, u"Ghostty"_s };
    bridge().launchClaude(u"/a'b"_s, TerminalBridge::Resume { u"abc"_s }, { AgentPermissionMode::bypassPermissions },
                          u"say \"hi\""_s, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.sources(), QStringList { QStringLiteral(R"(tell application "iTerm2"
    tell current window
        create tab with default profile
        tell current session
            write text "cd '/a'\''b' && claude --resume 'abc' --dangerously-skip-permissions -p 'say "hi"'"
        end tell
    end tell
end tell)") });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: launching claude in /a'b via iTerm2"_s });
}

TEST_F(TerminalLaunch, opensAWindowOfTerminalWhereNothingElseRuns)
{
    haveNoDrivers();
    launch(u"/p"_s, AgentPermissionMode::planMode);

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.sources(), QStringList { QStringLiteral(R"(tell application "Terminal"
    do script "cd '/p' && claude --plan"
end tell)") });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: launching claude in /p via Terminal"_s });
}

TEST_F(TerminalLaunch, startsNothingInATerminalWithoutAScriptingInterface)
{
    haveNoDrivers();
    for (const QString &name : { u"Ghostty"_s, u"kitty"_s, u"Warp"_s, u"Alacritty"_s }) {
        applications.names = { name, u"Terminal"_s };
        launch(u"/p"_s);
        EXPECT_EQ(outcome(), u"no terminal was found that an agent can be started in"_s);
        EXPECT_EQ(log.lines(),
                  QStringList({ u"TerminalBridge: launching claude in /p via %1"_s.arg(name),
                                u"TerminalBridge: launchClaude not supported for '%1' — no native scripting API "
                                "available"_s.arg(name) }));
        log.clear();
    }
    EXPECT_TRUE(scripts.scripts.isEmpty());
}

TEST_F(TerminalLaunch, logsAScriptThatFails)
{
    haveNoDrivers();
    scripts.outcome.exitStatus = 1;
    launch(u"/p"_s);

    EXPECT_EQ(outcome(), u"the terminal's script failed with status 1"_s);
    EXPECT_EQ(log.lines().back(), u"TerminalBridge: AppleScript exited with status 1"_s);
}

TEST_F(TerminalLaunch, prefersRunningTerminalsInAFixedOrder)
{
    QStringList inOrder { u"iTerm2"_s, u"Ghostty"_s, u"kitty"_s, u"Warp"_s, u"Alacritty"_s };
    while (!inOrder.isEmpty()) {
        applications.names = { inOrder.begin(), inOrder.end() };
        applications.names.insert(u"Terminal"_s);
        EXPECT_EQ(bridge().preferredTerminal(), inOrder.takeFirst());
    }
    applications.names = { u"iterm2"_s, u"Kitty"_s, u"ghostty "_s };
    EXPECT_EQ(bridge().preferredTerminal(), u"Terminal"_s) << "names are compared exactly";
}

TEST_F(TerminalLaunch, opensBesideTheNewestLiveSessionOfADriver)
{
    addLive(u"tmux-pane"_s, u"%1"_s, 100);
    addLive(u"tmux-pane"_s, u"%2"_s, 300);
    addLive(u"tmux-pane"_s, u"%3"_s, 200);
    addLive(u"tmux-pane"_s, u"%4"_s, 400, false);
    addLive(u"tmux-pane"_s, QString(), 500); // Can't be opened beside.
    addLive(u"kitty-window"_s, u"k"_s, 600);
    launchHere();

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList { opened(u"%2"_s) });
    EXPECT_TRUE(kitty.calls().isEmpty() && scripts.scripts.isEmpty());
    EXPECT_EQ(log.lines(), QStringList { launching(u"tmux"_s) });
}

TEST_F(TerminalLaunch, opensWhereADriverFindsAPlace)
{
    kitty.setPlaceToOpen(TerminalTarget { .type = u"kitty-window"_s, .sessionID = u"found"_s });
    launchHere();

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"find"_s });
    EXPECT_EQ(kitty.calls(), QStringList({ u"find"_s, opened(u"found"_s) }));
    EXPECT_EQ(log.lines(), QStringList { launching(u"kitty"_s) });
}

TEST_F(TerminalLaunch, goesOnToTheNextDriverWhereOneFails)
{
    addLive(u"tmux-pane"_s, u"%1"_s, 100);
    tmux.setFailure(u"no server"_s);
    kitty.setPlaceToOpen(TerminalTarget { .type = u"kitty-window"_s, .sessionID = u"found"_s });
    launchHere();

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList({ opened(u"%1"_s), u"find"_s }));
    EXPECT_EQ(kitty.calls(), QStringList({ u"find"_s, opened(u"found"_s) }));
    EXPECT_EQ(log.lines(), QStringList({ launching(u"tmux"_s), u"TerminalBridge: failed to open tmux: no server"_s,
                                         launching(u"kitty"_s) }));
}

TEST_F(TerminalLaunch, endsWithTheScriptsWhereNoDriverIsLeft)
{
    scripts.outcome.unsupported = u"there is no scripting here"_s;
    launchHere();

    EXPECT_EQ(outcome(), u"there is no scripting here"_s);
    EXPECT_EQ(log.lines(), QStringList({ launching(u"Terminal"_s),
                                         u"TerminalBridge: AppleScript not run: there is no scripting here"_s }));
}

TEST_F(TerminalLaunch, refusesWhatIsNoFolder)
{
    const QString file = folder.filePath(u"file"_s);
    ASSERT_TRUE(QFile(file).open(QIODevice::WriteOnly));
    for (const QString &path : { folder.filePath(u"missing"_s), file, QString() }) {
        launch(path);
        EXPECT_EQ(outcome(), u"there is no folder "_s + path);
        EXPECT_EQ(log.lines().back(), u"TerminalBridge: claude not launched: there is no folder "_s + path);
    }
    EXPECT_TRUE(tmux.calls().isEmpty() && kitty.calls().isEmpty() && scripts.scripts.isEmpty());
}

TEST_F(TerminalLaunch, takesAFolderOfAnyName)
{
    const QString odd = folder.filePath(u"a'b \"c\" $(d) é;"_s);
    ASSERT_TRUE(QDir().mkdir(odd));
    addLive(u"tmux-pane"_s, u"%1"_s, 100);
    launch(odd);

    EXPECT_EQ(outcome(), u"done"_s);
    QString quoted = odd;
    quoted.replace(u"'"_s, u"'\\''"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"open %1: "_s + odd + u": cd '"_s + quoted + u"' && claude"_s });
}

TEST_F(TerminalLaunch, asksTheAgentOnceForItsOptions)
{
    std::atomic<int> asked { 0 };
    agentHelp = [&asked] {
        ++asked;
        return u"--permission-mode <mode>"_s;
    };
    addLive(u"tmux-pane"_s, u"%1"_s, 100);
    launchHere();
    waitForOutcomes(1);
    EXPECT_EQ(asked, 0) << "this mode needs no option";

    launchHere(AgentPermissionMode::planMode);
    launchHere(AgentPermissionMode::autoAcceptEdits);
    waitForOutcomes(3);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(tmux.calls(), QStringList({ opened(u"%1"_s), opened(u"%1"_s, u" --permission-mode plan"_s),
                                          opened(u"%1"_s, u" --permission-mode acceptEdits"_s) }));
}

TEST_F(TerminalLaunch, keepsToTheOlderOptionsWhereTheAgentCannotBeAsked)
{
    std::atomic<int> asked { 0 };
    agentHelp = [&asked]() -> std::optional<QString> {
        ++asked;
        return std::nullopt;
    };
    haveNoDrivers();
    launch(u"/p"_s, AgentPermissionMode::planMode);
    launch(u"/p"_s, AgentPermissionMode::autoAcceptEdits);
    waitForOutcomes(2);

    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(scripts.sources().at(0).contains(u"claude --plan\""_s));
    EXPECT_TRUE(scripts.sources().at(1).contains(u"claude --allowedTools '*'\""_s));
}

TEST_F(TerminalLaunch, launchesInTheOrderAskedFor)
{
    agentHelp = [] { return u"--permission-mode"_s; };
    addLive(u"tmux-pane"_s, u"%1"_s, 100);
    launchHere(AgentPermissionMode::planMode);
    launchHere(AgentPermissionMode::bypassPermissions);
    waitForOutcomes(2);

    EXPECT_EQ(tmux.calls(), QStringList({ opened(u"%1"_s, u" --permission-mode plan"_s),
                                          opened(u"%1"_s, u" --dangerously-skip-permissions"_s) }));
}

TEST_F(TerminalLaunch, endsWithoutHarmWhileADriverOpens)
{
    tmux.hold(u"%1"_s);
    addLive(u"tmux-pane"_s, u"%1"_s, 100);
    launchHere();
    while (tmux.calls().isEmpty())
        mainQueue.drainWhenPosted(std::chrono::milliseconds { 10 });
    tmux.release(u"%1"_s);
    destroyBridge();
    mainQueue.drainAll();

    EXPECT_TRUE(outcomes.isEmpty());
}

} // namespace
} // namespace vantry::test
