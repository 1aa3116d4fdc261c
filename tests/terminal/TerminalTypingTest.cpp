#include "TerminalBridgeFixture.h"

namespace vantry::test {
namespace {

/// Typing by script, and where nothing can be typed.
using TerminalTyping = TerminalBridgeFixture;

SessionPtr itermSession()
{
    return sessionIn(u"iterm2"_s, u"ABC"_s);
}

TEST_F(TerminalTyping, writesATextAndReturnToITerm2)
{
    bridge().sendText(*itermSession(), u"hello"_s, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.sources(), QStringList { QStringLiteral(R"(tell application "iTerm2"
    repeat with w in windows
        repeat with t in tabs of w
            repeat with s in sessions of t
                if unique ID of s contains "ABC" then
                    tell s to write text "hello" newline no
                    delay 0.1
                    tell s to write text ""
                    return
                end if
            end repeat
        end repeat
    end repeat
end tell)") });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: sendText to iterm2, text=hello"_s });
}

TEST_F(TerminalTyping, joinsLinesWithoutASeparator)
{
    bridge().sendText(*itermSession(), u"a\r\nb\n\rc"_s);

    EXPECT_TRUE(scripts.sources().front().contains(u"write text \"abc\" newline no"_s));
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: sendText to iterm2, text=abc"_s });
}

TEST_F(TerminalTyping, pressesReturnForATextOfNothing)
{
    bridge().sendText(*itermSession(), QString());
    bridge().sendText(*itermSession(), u"\r\n\n"_s);

    ASSERT_EQ(scripts.scripts.size(), 2);
    EXPECT_TRUE(scripts.sources().front().contains(
        u"write text \"\" newline no\n                    delay 0.1\n                    tell s to write text \"\"\n"_s));
    EXPECT_EQ(scripts.scripts.front(), scripts.scripts.back());
    EXPECT_EQ(log.lines().front(), u"TerminalBridge: sendText to iterm2, text="_s);
}

TEST_F(TerminalTyping, escapesDoubleQuotesAndNothingElse)
{
    bridge().sendText(*itermSession(), u"say \"hi\" \\ '$(x)' `y`"_s);
    bridge().sendText(*itermSession(), u"ends in \\"_s);

    EXPECT_TRUE(scripts.sources().at(0).contains(u"write text \"say \\\"hi\\\" \\ '$(x)' `y`\" newline no"_s));
    EXPECT_TRUE(scripts.sources().at(1).contains(u"write text \"ends in \\\" newline no"_s));
    EXPECT_EQ(log.lines().front(), u"TerminalBridge: sendText to iterm2, text=say \"hi\" \\ '$(x)' `y`"_s);
}

TEST_F(TerminalTyping, pressesReturnInITerm2)
{
    bridge().pressReturn(*itermSession(), keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.sources(), QStringList { QStringLiteral(R"(tell application "iTerm2"
    repeat with w in windows
        repeat with t in tabs of w
            repeat with s in sessions of t
                if unique ID of s contains "ABC" then
                    tell s to write text ""
                    return
                end if
            end repeat
        end repeat
    end repeat
end tell)") });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: pressReturn for iterm2"_s });
}

TEST_F(TerminalTyping, answersWithoutArrowsForTheFirstOption)
{
    bridge().answerQuestion(*itermSession(), 0, keep());

    EXPECT_EQ(outcome(), u"done"_s);
    EXPECT_EQ(scripts.sources(), QStringList { QStringLiteral(R"(tell application "iTerm2"
    repeat with w in windows
        repeat with t in tabs of w
            repeat with s in sessions of t
                if unique ID of s contains "ABC" then
                    tell s to write text character id 27 newline no
                    delay 0.1
                    tell s to write text ""
                    return
                end if
            end repeat
        end repeat
    end repeat
end tell)") });
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: answerQuestion index=0 for iterm2"_s });
}

TEST_F(TerminalTyping, writesAllArrowsAtOnceForAnotherOption)
{
    bridge().answerQuestion(*itermSession(), 2);

    EXPECT_EQ(scripts.sources(),
              QStringList { QStringLiteral("tell application \"iTerm2\"\n"
                                           "    repeat with w in windows\n"
                                           "        repeat with t in tabs of w\n"
                                           "            repeat with s in sessions of t\n"
                                           "                if unique ID of s contains \"ABC\" then\n"
                                           "                tell s to write text \"\x1b[B\x1b[B\" "
                                           "newline no\n"
                                           "                delay 0.3\n"
                                           "                    tell s to write text character id "
                                           "27 newline no\n"
                                           "                    delay 0.1\n"
                                           "                    tell s to write text \"\"\n"
                                           "                    return\n"
                                           "                end if\n"
                                           "            end repeat\n"
                                           "        end repeat\n"
                                           "    end repeat\n"
                                           "end tell") });
}

TEST_F(TerminalTyping, ignoresAnIndexThatNoOptionCanHave)
{
    bridge().answerQuestion(*itermSession(), -1, keep());
    bridge().answerQuestion(*itermSession(), std::numeric_limits<int>::min());
    bridge().answerQuestion(*itermSession(), std::numeric_limits<int>::max());

    EXPECT_EQ(outcome(), u"there is no option -1"_s);
    EXPECT_TRUE(scripts.scripts.isEmpty());
    EXPECT_EQ(log.lines(),
              (QStringList { u"TerminalBridge: answerQuestion ignored: there is no option -1"_s,
                             u"TerminalBridge: answerQuestion ignored: there is no option -2147483648"_s,
                             u"TerminalBridge: answerQuestion ignored: there is no option 2147483647"_s }));
}

TEST_F(TerminalTyping, focusesWhereItCannotType)
{
    for (const QString &type : { u"kitty"_s, u"terminal"_s, u"warp"_s }) {
        const SessionPtr session = sessionIn(type, u"7"_s);
        bridge().sendText(*session, u"hi"_s, keep());
        EXPECT_EQ(outcome(), u"nothing can be typed into %1; the terminal was brought forward"_s.arg(type));
        bridge().pressReturn(*session, keep());
        EXPECT_EQ(outcome(), u"nothing can be typed into %1; the terminal was brought forward"_s.arg(type));
        bridge().answerQuestion(*session, 1, keep());
        EXPECT_EQ(outcome(), u"nothing can be typed into %1; the terminal was brought forward"_s.arg(type));
        EXPECT_EQ(
            log.lines(),
            (QStringList {
                u"TerminalBridge: sendText to %1, text=hi"_s.arg(type),
                u"TerminalBridge: sendText not supported for '%1' — focusing terminal instead"_s.arg(type),
                u"TerminalBridge: pressReturn for %1"_s.arg(type),
                u"TerminalBridge: pressReturn not supported for '%1' — focusing terminal instead"_s.arg(type),
                u"TerminalBridge: answerQuestion index=1 for %1"_s.arg(type),
                u"TerminalBridge: answerQuestion not supported for '%1' — focusing terminal instead"_s.arg(type) }));
        log.clear();
    }
    EXPECT_EQ(scripts.scripts.size(), 9);
    EXPECT_EQ(scripts.tools.size(), 3) << "those of kitty";
    for (const QString &source : scripts.sources())
        EXPECT_TRUE(source.endsWith(u" to activate"_s));
}

TEST_F(TerminalTyping, logsTheUnknownTypeTwiceWhenNoneWasReported)
{
    const SessionPtr session = sessionIn({}, {});
    bridge().sendText(*session, u"hi"_s, keep());

    EXPECT_EQ(outcome(), u"nothing can be typed into the session's terminal; bringing the terminal forward failed: "
                         "there is no way to find the session's terminal"_s);
    EXPECT_EQ(log.lines(),
              (QStringList { u"TerminalBridge: sendText to unknown, text=hi"_s,
                             u"TerminalBridge: sendText not supported for 'unknown' — focusing terminal instead"_s,
                             u"TerminalBridge: unknown terminal type 'unknown', cannot focus"_s }));
}

TEST_F(TerminalTyping, activatesITerm2WithoutASessionID)
{
    const QStringList activation { u"tell application \"iTerm2\" to activate"_s };
    for (const auto &id : { std::optional<QString>(), std::optional(QString()) }) {
        const SessionPtr session = sessionIn(u"iterm2"_s, id);
        bridge().sendText(*session, u"hi"_s);
        bridge().pressReturn(*session);
        bridge().answerQuestion(*session, 0);
        EXPECT_EQ(scripts.sources(), activation + activation + activation);
        scripts.scripts.clear();
    }
    EXPECT_TRUE(log.contains(u"TerminalBridge: sendText not supported for 'iterm2' — focusing terminal instead"_s));
}

TEST_F(TerminalTyping, typesIntoITerm2ByItsExactTypeAlone)
{
    EXPECT_TRUE(bridge().canType(*itermSession()));
    for (const QString &type : { u"iTerm2"_s, u"iterm.app"_s, u"kitty"_s, u"x11-window"_s, u"unknown"_s })
        EXPECT_FALSE(bridge().canType(*sessionIn(type, u"ABC"_s)));
    EXPECT_FALSE(bridge().canType(*sessionIn(u"iterm2"_s, QString())));
    EXPECT_FALSE(bridge().canType(*sessionIn({}, {})));
}

TEST_F(TerminalTyping, tellsOnlyTheLogAndTheCallerOfAFailedScript)
{
    scripts.outcome.exitStatus = 1;
    bridge().sendText(*itermSession(), u"hi"_s, keep());

    EXPECT_EQ(outcome(), u"the terminal's script failed with status 1"_s);
    EXPECT_EQ(scripts.scripts.size(), 1) << "neither tried again nor focused";
    EXPECT_EQ(log.lines().back(), u"TerminalBridge: AppleScript exited with status 1"_s);
}

TEST_F(TerminalTyping, typesNoTextIntoAPermissionOfITerm2)
{
    const SessionPtr session = itermSession();
    session->setState(SessionState::needsPermission);
    bridge().sendText(*session, u"no, wait"_s, keep());

    EXPECT_EQ(outcome(), u"the session waits for a permission, which text would grant; the terminal was brought "
                         "forward"_s);
    EXPECT_EQ(log.lines(),
              (QStringList { u"TerminalBridge: sendText to iterm2, text=no, wait"_s,
                             u"TerminalBridge: sendText refused: the session waits for a permission, which text would "
                             "grant — focusing terminal instead"_s }));
    ASSERT_EQ(scripts.scripts.size(), 1);
    EXPECT_TRUE(scripts.sources().front().contains(u"select s\n"_s));
}

TEST_F(TerminalTyping, givesITerm2AFreeAnswerBehindItsDigit)
{
    bridge().sendText(*askingSession(u"iterm2"_s, u"ABC"_s, { questionWith(2) }), u"\"both\""_s);

    ASSERT_EQ(scripts.scripts.size(), 1);
    EXPECT_TRUE(scripts.sources().front().contains(QStringLiteral(R"(
                    tell s to write text "3" newline no
                    delay 0.1
                    tell s to write text "\"both\"" newline no
                    delay 0.1
                    tell s to write text ""
                    return)")));
}

TEST_F(TerminalTyping, offersNoChoiceInITerm2WhereOneCannotAnswer)
{
    const SessionPtr session = askingSession(u"iterm2"_s, u"ABC"_s, { questionWith(2), questionWith(2) });
    bridge().answerQuestion(*session, 1, keep());

    EXPECT_EQ(outcome(),
              u"one choice can't answer what the session asks; answer it in its terminal; the terminal was brought "
              "forward"_s);
    EXPECT_TRUE(scripts.sources().front().contains(u"select s\n"_s));
    EXPECT_EQ(bridge().refusalOfAnswer(*session, 1),
              u"one choice can't answer what the session asks; answer it in its terminal"_s);
    EXPECT_EQ(bridge().refusalOfAnswer(*itermSession(), 1), std::nullopt);
}

TEST_F(TerminalTyping, approvesAPlanInITerm2)
{
    bridge().approvePlan(*itermSession());

    ASSERT_EQ(scripts.scripts.size(), 1);
    EXPECT_TRUE(scripts.sources().front().contains(
        u" then\n                    tell s to write text \"2\" newline no\n                    return\n"_s));
    EXPECT_EQ(log.lines(), QStringList { u"TerminalBridge: approvePlan for iterm2"_s });
}

TEST_F(TerminalTyping, approvesNoPlanWhereItCannotType)
{
    bridge().approvePlan(*sessionIn(u"kitty"_s, u"7"_s), keep());

    EXPECT_EQ(outcome(), u"nothing can be typed into kitty"_s);
    EXPECT_TRUE(scripts.scripts.isEmpty() && scripts.tools.isEmpty()) << "it is not brought forward";
}

TEST_F(TerminalTyping, namesATerminalByItsDriverElseByItsType)
{
    EXPECT_EQ(bridge().terminalName(*sessionIn(u"tmux-pane"_s, u"/s,%1"_s)), u"tmux"_s);
    EXPECT_EQ(bridge().terminalName(*sessionIn(u"ghostty"_s, {})), u"ghostty"_s);
    EXPECT_EQ(bridge().terminalName(*sessionIn({}, {})), std::nullopt);
}

} // namespace
} // namespace vantry::test
