#include "TerminalBridgeFixture.h"

namespace vantry::test {
namespace {

using TerminalFocus = TerminalBridgeFixture;

const QString unknownReason = u"there is no way to find the session's terminal"_s;

QStringList activation(const QString &application)
{
    return { u"tell application \""_s + application + u"\" to activate"_s };
}

TEST_F(TerminalFocus, logsAnUnknownTypeWhenNoneWasReported)
{
    bridge().focusTerminal(*sessionIn({}, {}), keep());

    EXPECT_EQ(outcome(), unknownReason);
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: unknown terminal type 'unknown', cannot focus"_s });
    EXPECT_TRUE(scripts.scripts.isEmpty() && scripts.tools.isEmpty() && applications.calls().isEmpty());
}

TEST_F(TerminalFocus, keepsTheRawTypeInTheLineOfAnUnknownOne)
{
    for (const QString &type : { u"Terminal"_s, u"WezTerm"_s, u""_s, u"kitty "_s })
        bridge().focusTerminal(*sessionIn(type, u"1"_s));

    EXPECT_EQ(log.lines(), (QStringList { u"TerminalBridge: unknown terminal type 'Terminal', cannot focus"_s,
                                          u"TerminalBridge: unknown terminal type 'WezTerm', cannot focus"_s,
                                          u"TerminalBridge: unknown terminal type '', cannot focus"_s,
                                          u"TerminalBridge: unknown terminal type 'kitty ', cannot focus"_s }));
    EXPECT_TRUE(scripts.scripts.isEmpty());
}

TEST_F(TerminalFocus, selectsTheSessionOfITerm2)
{
    bridge().focusTerminal(*sessionIn(u"iterm2"_s, u"ABC-1"_s), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    ASSERT_EQ(scripts.sources(), QStringList { QStringLiteral(R"(tell application "iTerm2"
    activate
    repeat with w in windows
        repeat with t in tabs of w
            repeat with s in sessions of t
                if unique ID of s contains "ABC-1" then
                    select t
                    select s
                    return
                end if
            end repeat
        end repeat
    end repeat
end tell)") });
    EXPECT_EQ(scripts.scripts.front().activates, QString()) << "it does more than that";
}

TEST_F(TerminalFocus, activatesITerm2WithoutASessionID)
{
    bridge().focusTerminal(*sessionIn(u"iterm2"_s, {}));
    bridge().focusTerminal(*sessionIn(u"iterm2"_s, QString()));

    EXPECT_EQ(scripts.sources(), activation(u"iTerm2"_s) + activation(u"iTerm2"_s));
    EXPECT_EQ(scripts.scripts.front().activates, u"iTerm2"_s);
}

TEST_F(TerminalFocus, leavesADoubleQuoteInASessionIDAsItIs)
{
    bridge().focusTerminal(*sessionIn(u"iterm2"_s, u"a\"b\\"_s));

    ASSERT_EQ(scripts.scripts.size(), 1);
    EXPECT_TRUE(scripts.sources().front().contains(u"contains \"a\"b\\\" then"_s));
}

TEST_F(TerminalFocus, runsTheToolOfKittyAndActivatesIt)
{
    bridge().focusTerminal(*sessionIn(u"kitty"_s, u"7"_s), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.tools, QList<QStringList> { QStringList(
                                 { u"/usr/local/bin/kitty"_s, u"@"_s, u"focus-window"_s, u"--match"_s, u"id:7"_s }) });
    EXPECT_EQ(scripts.sources(), activation(u"kitty"_s));
}

TEST_F(TerminalFocus, runsNoToolForKittyWithoutAWindow)
{
    bridge().focusTerminal(*sessionIn(u"kitty"_s, {}));

    EXPECT_TRUE(scripts.tools.isEmpty());
    EXPECT_EQ(scripts.sources(), activation(u"kitty"_s));
}

TEST_F(TerminalFocus, activatesKittyThoughItsToolCannotStart)
{
    scripts.outcome.launchError = u"no such file"_s;
    bridge().focusTerminal(*sessionIn(u"kitty"_s, u"7"_s));

    EXPECT_EQ(scripts.sources(), activation(u"kitty"_s));
    EXPECT_EQ(log.lines(), (QStringList { u"TerminalBridge: failed to run /usr/local/bin/kitty: no such file"_s,
                                          u"TerminalBridge: failed to run AppleScript: no such file"_s }));
}

TEST_F(TerminalFocus, doesNotLookAtTheExitStatusOfATool)
{
    scripts.isHeld = true;
    bridge().focusTerminal(*sessionIn(u"kitty"_s, u"7"_s), keep());
    scripts.outcome.exitStatus = 1;
    scripts.release();

    EXPECT_EQ(outcome(), u"the terminal's script failed with status 1"_s);
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: AppleScript exited with status 1"_s });
}

TEST_F(TerminalFocus, activatesTheApplicationsThatOnlyAScriptReaches)
{
    for (const QString &type : { u"terminal"_s, u"warp"_s, u"alacritty"_s, u"ghostty"_s })
        bridge().focusTerminal(*sessionIn(type, u"unused"_s));

    EXPECT_EQ(scripts.sources(), activation(u"Terminal"_s) + activation(u"Warp"_s) + activation(u"Alacritty"_s) +
                                     activation(u"Ghostty"_s));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(TerminalFocus, activatesARunningEditorByItsBundle)
{
    const QStringList bundles { u"com.microsoft.VSCode"_s, u"com.microsoft.VSCodeInsiders"_s,
                                u"com.todesktop.230313mzl4w4u92"_s, u"com.exafunction.windsurf"_s };
    applications.bundles = { bundles.begin(), bundles.end() };
    for (const QString &type : { u"vscode"_s, u"vscode-insiders"_s, u"cursor"_s, u"windsurf"_s })
        bridge().focusTerminal(*sessionIn(type, {}), keep());
    waitForOutcomes(4);

    EXPECT_EQ(outcomes, QStringList({ u"done"_s, u"done"_s, u"done"_s, u"done"_s }));
    EXPECT_EQ(applications.calls(),
              QStringList({ u"activateBundle com.microsoft.VSCode"_s, u"activateBundle com.microsoft.VSCodeInsiders"_s,
                            u"activateBundle com.todesktop.230313mzl4w4u92"_s,
                            u"activateBundle com.exafunction.windsurf"_s }));
    EXPECT_TRUE(scripts.scripts.isEmpty());
}

TEST_F(TerminalFocus, doesNothingForAnEditorThatIsNotRunning)
{
    for (const QString &type : { u"vscode"_s, u"vscode-insiders"_s, u"cursor"_s, u"windsurf"_s })
        bridge().focusTerminal(*sessionIn(type, {}), keep());
    waitForOutcomes(4);

    EXPECT_EQ(outcomes.front(), u"com.microsoft.VSCode is not running"_s);
    EXPECT_EQ(log.lines(), QStringList({ u"TerminalBridge: com.microsoft.VSCode not running, cannot focus"_s,
                                         u"TerminalBridge: com.microsoft.VSCodeInsiders not running, cannot focus"_s,
                                         u"TerminalBridge: com.todesktop.230313mzl4w4u92 not running, cannot focus"_s,
                                         u"TerminalBridge: com.exafunction.windsurf not running, cannot focus"_s }));
    EXPECT_TRUE(scripts.scripts.isEmpty());
}

TEST_F(TerminalFocus, findsAnApplicationByItsNameInAnyCase)
{
    const QList<std::pair<QString, QString>> names {
        { u"iTerm.app"_s, u"iTerm2"_s },
        { u"iTerm2"_s, u"iTerm2"_s },
        { u"Apple_Terminal"_s, u"Terminal"_s },
        { u"APPLE_TERMINAL"_s, u"Terminal"_s },
        { u"WarpTerm"_s, u"Warp"_s },
        { u"WARP"_s, u"Warp"_s },
        { u"WarpTerminal"_s, u"Warp"_s },
        { u"warpterminal"_s, u"Warp"_s },
        { u"Ghostty"_s, u"Ghostty"_s },
        { u"Kitty"_s, u"kitty"_s },
        { u"Alacritty"_s, u"Alacritty"_s },
        { u"VSCode"_s, u"Visual Studio Code"_s },
        { u"VSCode-Insiders"_s, u"Visual Studio Code - Insiders"_s },
        { u"Cursor"_s, u"Cursor"_s },
        { u"Windsurf"_s, u"Windsurf"_s },
    };
    QStringList expected;
    for (const auto &[type, application] : names) {
        bridge().focusTerminal(*sessionIn(type, u"7"_s));
        expected += activation(application);
    }
    EXPECT_EQ(scripts.sources(), expected);
    EXPECT_TRUE(scripts.tools.isEmpty() && applications.calls().isEmpty());
}

TEST_F(TerminalFocus, takesTmuxForTheTerminalWithoutADriver)
{
    bridge().focusTerminal(*sessionIn(u"tmux"_s, {}));

    EXPECT_EQ(scripts.sources(), activation(u"Terminal"_s));
}

TEST_F(TerminalFocus, logsAScriptThatTheDesktopCannotRun)
{
    scripts.outcome.unsupported = u"Alacritty is not running"_s;
    bridge().focusTerminal(*sessionIn(u"alacritty"_s, {}), keep());

    EXPECT_EQ(outcome(), u"Alacritty is not running"_s);
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: AppleScript not run: Alacritty is not running"_s });
}

TEST_F(TerminalFocus, asksTheDriverOfTheTerminalFirst)
{
    bridge().focusTerminal(*sessionIn(u"tmux-pane"_s, u"/s,%1"_s), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(tmux.calls(), QStringList { u"focus /s,%1"_s });
    EXPECT_TRUE(kitty.calls().isEmpty() && scripts.scripts.isEmpty() && log.lines().isEmpty());
}

TEST_F(TerminalFocus, tellsWhyADriverFailed)
{
    tmux.setFailure(u"the pane is gone"_s);
    bridge().focusTerminal(*sessionIn(u"tmux-pane"_s, u"/s,%1"_s), keep());

    EXPECT_EQ(outcome(), u"the pane is gone"_s);
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: failed to focus tmux: the pane is gone"_s });
}

TEST_F(TerminalFocus, fallsBackOnTheNameWhereADriverCannotFocus)
{
    bridge().focusTerminal(*sessionIn(u"tmux-pane"_s, {}), keep());

    EXPECT_EQ(outcome(), unknownReason);
    EXPECT_TRUE(tmux.calls().isEmpty());
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: unknown terminal type 'tmux-pane', cannot focus"_s });
}

TEST_F(TerminalFocus, endsNoOperationFromWithinTheCall)
{
    bridge().focusTerminal(*sessionIn(u"vscode"_s, {}), keep());
    bridge().focusTerminal(*sessionIn(u"alacritty"_s, {}), keep());
    bridge().focusTerminal(*sessionIn({}, {}), keep());
    EXPECT_TRUE(outcomes.isEmpty());

    mainQueue.drainAll();
    EXPECT_EQ(outcomes.size(), 3);
}

TEST_F(TerminalFocus, doesWithoutACompletion)
{
    for (const QString &type : { u"vscode"_s, u"iterm2"_s, u"kitty"_s, u"alacritty"_s, u"nothing"_s })
        bridge().focusTerminal(*sessionIn(type, u"1"_s));
    mainQueue.drainAll();

    EXPECT_EQ(scripts.scripts.size(), 3);
}

TEST_F(TerminalFocus, takesNoHarmFromAScriptThatEndsAfterTheBridge)
{
    scripts.isHeld = true;
    bridge().focusTerminal(*sessionIn(u"alacritty"_s, {}), keep());
    destroyBridge();
    scripts.outcome.exitStatus = 2;
    scripts.release();
    mainQueue.drainAll();

    EXPECT_TRUE(outcomes.isEmpty());
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: AppleScript exited with status 2"_s });
}

TEST_F(TerminalFocus, callsNoCompletionAfterTheBridgeHasGone)
{
    bridge().focusTerminal(*sessionIn({}, {}), keep());
    destroyBridge();
    mainQueue.drainAll();

    EXPECT_TRUE(outcomes.isEmpty());
}

} // namespace
} // namespace vantry::test
