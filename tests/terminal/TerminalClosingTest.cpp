#include "TerminalBridgeFixture.h"

namespace vantry::test {
namespace {

using TerminalClosing = TerminalBridgeFixture;

TEST_F(TerminalClosing, closesTheSessionOfITerm2)
{
    bridge().closeTab(*sessionIn(u"iterm2"_s, u"ABC"_s), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.sources(), QStringList { QStringLiteral(R"(tell application "iTerm2"
    repeat with w in windows
        repeat with t in tabs of w
            repeat with s in sessions of t
                if unique ID of s contains "ABC" then
                    tell s to close
                    return
                end if
            end repeat
        end repeat
    end repeat
end tell)") });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: closeTab for iterm2, sessionID=ABC"_s });
}

TEST_F(TerminalClosing, skipsWhatItCannotName)
{
    bridge().closeTab(*sessionIn(u"iterm2"_s, {}), keep());
    EXPECT_EQ(outcome(), u"the session's tab is not known"_s);
    bridge().closeTab(*sessionIn(u"kitty"_s, QString()), keep());
    EXPECT_EQ(outcome(), u"the session's window is not known"_s);

    EXPECT_EQ(log.lines(), QStringList({ u"TerminalBridge: closeTab for iterm2, sessionID="_s,
                                         u"TerminalBridge: closeTab skipped — no iTerm2 session ID"_s,
                                         u"TerminalBridge: closeTab for kitty, sessionID="_s,
                                         u"TerminalBridge: closeTab skipped — no kitty window ID"_s }));
    EXPECT_TRUE(scripts.scripts.isEmpty() && scripts.tools.isEmpty());
}

TEST_F(TerminalClosing, closesTheWindowOfKittyByItsTool)
{
    bridge().closeTab(*sessionIn(u"kitty"_s, u"7"_s), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.tools, QList<QStringList> { QStringList(
                                 { u"/usr/local/bin/kitty"_s, u"@"_s, u"close-window"_s, u"--match"_s, u"id:7"_s }) });
    EXPECT_TRUE(scripts.scripts.isEmpty());
}

TEST_F(TerminalClosing, leavesOtherTabsOpenAndFocusesNothing)
{
    for (const auto &type : { std::optional(u"terminal"_s), std::optional(u"vscode"_s), std::optional(u"KITTY"_s),
                              std::optional<QString>() })
        bridge().closeTab(*sessionIn(type, u"7"_s), keep());
    waitForOutcomes(4);

    EXPECT_EQ(outcomes.front(), u"tabs of this kind of terminal can't be closed from here"_s);
    EXPECT_EQ(log.lines(),
              QStringList({ u"TerminalBridge: closeTab for terminal, sessionID=7"_s,
                            u"TerminalBridge: closeTab not supported for 'terminal' — no session-level targeting"_s,
                            u"TerminalBridge: closeTab for vscode, sessionID=7"_s,
                            u"TerminalBridge: closeTab not supported for 'vscode' — no session-level targeting"_s,
                            u"TerminalBridge: closeTab for KITTY, sessionID=7"_s,
                            u"TerminalBridge: closeTab not supported for 'KITTY' — no session-level targeting"_s,
                            u"TerminalBridge: closeTab for unknown, sessionID=7"_s,
                            u"TerminalBridge: closeTab not supported for 'unknown' — no session-level targeting"_s }));
    EXPECT_TRUE(scripts.scripts.isEmpty() && scripts.tools.isEmpty() && applications.calls().isEmpty());
}

TEST_F(TerminalClosing, hasADriverCloseItsTerminal)
{
    bridge().closeTab(*sessionIn(u"kitty-window"_s, u"a,7"_s), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(kitty.calls(), QStringList { u"close a,7"_s });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: closeTab for kitty-window, sessionID=a,7"_s });
}

TEST_F(TerminalClosing, tellsWhyADriverCouldNotClose)
{
    kitty.setFailure(u"the window is gone"_s);
    bridge().closeTab(*sessionIn(u"kitty-window"_s, u"a,7"_s), keep());

    EXPECT_EQ(outcome(), u"the window is gone"_s);
    EXPECT_EQ(log.lines().back(), u"TerminalBridge: failed to close kitty: the window is gone"_s);
}

TEST_F(TerminalClosing, leavesOpenWhatADriverCannotClose)
{
    kitty.setAbilities({ .focus = true, .type = true });
    bridge().closeTab(*sessionIn(u"kitty-window"_s, u"a,7"_s), keep());

    EXPECT_EQ(outcome(), u"tabs of this kind of terminal can't be closed from here"_s);
    EXPECT_EQ(log.lines().back(),
              u"TerminalBridge: closeTab not supported for 'kitty-window' — no session-level targeting"_s);
    EXPECT_TRUE(kitty.calls().isEmpty());
}

TEST_F(TerminalClosing, closesOnlyWhenWhatWasTypedBeforeIsThrough)
{
    const SessionPtr session = sessionIn(u"kitty-window"_s, u"a,7"_s);
    bridge().sendText(*session, u"bye"_s, keep());
    bridge().closeTab(*session, keep());
    waitForOutcomes(2);

    EXPECT_EQ(kitty.calls(), QStringList({ u"type a,7: bye"_s, u"return a,7"_s, u"close a,7"_s }));
}

} // namespace
} // namespace vantry::test
