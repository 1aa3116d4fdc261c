#include "panels/SessionInfo.h"

#include <QStringList>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Sets the local time zone, as long as it lives.
class LocalZone
{
public:
    explicit LocalZone(const QByteArray &name)
    {
        qputenv("TZ", name);
        ::tzset();
    }
    ~LocalZone()
    {
        qunsetenv("TZ");
        ::tzset();
    }
    LocalZone(const LocalZone &) = delete;
    LocalZone &operator=(const LocalZone &) = delete;
};

const Date morning = std::chrono::sys_days { std::chrono::year { 2026 } / 1 / 31 } + 9h + 5min + 59s;

VantrySession::Init init()
{
    VantrySession::Init init;
    init.id = u"7f3a91c2"_s;
    init.startedAt = morning;
    init.lastUpdated = morning + 36min;
    return init;
}

/// "label: value" of each row.
QStringList rowsOf(const VantrySession &session, const QString &terminalName = {}, const QString &home = u"/home/ann"_s)
{
    QStringList rows;
    for (const SessionInfoRow &row : infoRowsOf(session, terminalName, home))
        rows.append(row.label + u": " + row.value);
    return rows;
}

QString terminalOf(const QString &type, const QString &name)
{
    VantrySession::Init given = init();
    given.terminalType = type;
    const QStringList rows = rowsOf(VantrySession(given), name).filter(u"Terminal: "_s);
    return rows.isEmpty() ? QString() : rows.first().sliced(10);
}

QString pathOf(const QString &cwd, const QString &home)
{
    VantrySession::Init given = init();
    given.cwd = cwd;
    return rowsOf(VantrySession(given), {}, home).first();
}

TEST(SessionInfoTest, showsEveryRowInItsOrder)
{
    const LocalZone zone("UTC");
    VantrySession::Init given = init();
    given.cwd = u"/home/ann/src/shop"_s;
    given.terminalType = u"kitty"_s;
    given.lastPrompt = u"Retry the call"_s;
    given.toolName = u"Bash"_s;
    VantrySession session(given);
    session.setContextPercent(62);

    EXPECT_EQ(rowsOf(session), QStringList({ u"Path: ~/src/shop"_s, u"Terminal: Kitty"_s, u"Session: 7f3a91c2"_s,
                                             u"Started: 09:05"_s, u"Updated: 09:41"_s, u"Context: 38% used"_s,
                                             u"Last Prompt: Retry the call"_s, u"Tool: Bash"_s }));
}

TEST(SessionInfoTest, leavesOutRowsWithoutAValue)
{
    const LocalZone zone("UTC");
    VantrySession::Init given = init();
    given.toolName = u""_s;

    EXPECT_EQ(rowsOf(VantrySession(given)),
              QStringList({ u"Session: 7f3a91c2"_s, u"Started: 09:05"_s, u"Updated: 09:41"_s }));
}

TEST(SessionInfoTest, timesAreLocal)
{
    const LocalZone zone("UTC-05:30");

    EXPECT_TRUE(rowsOf(VantrySession(init())).contains(u"Started: 14:35"_s));
}

TEST(SessionInfoTest, theTerminalIsTheDriversOwnName)
{
    EXPECT_EQ(terminalOf(u"tmux-pane"_s, u"tmux"_s), u"tmux"_s);
    EXPECT_EQ(terminalOf(u"konsole-session"_s, u"konsole"_s), u"konsole"_s);
}

TEST(SessionInfoTest, aTerminalWithoutADriverIsItsTypeCapitalised)
{
    EXPECT_EQ(terminalOf(u"vscode"_s, u"vscode"_s), u"Vscode"_s);
    EXPECT_EQ(terminalOf(u"vscode-insiders"_s, {}), u"Vscode-Insiders"_s);
    EXPECT_EQ(terminalOf(u"iTerm2"_s, {}), u"Iterm2"_s);
    EXPECT_EQ(terminalOf({}, {}), QString());
}

TEST(SessionInfoTest, onlyTheHomeItselfBecomesATilde)
{
    EXPECT_EQ(pathOf(u"/home/ann"_s, u"/home/ann"_s), u"Path: ~"_s);
    EXPECT_EQ(pathOf(u"/home/anna/x"_s, u"/home/ann"_s), u"Path: /home/anna/x"_s);
    EXPECT_EQ(pathOf(u"/mnt/home/ann"_s, u"/home/ann"_s), u"Path: /mnt/home/ann"_s);
    EXPECT_EQ(pathOf(u"/srv"_s, u"/"_s), u"Path: /srv"_s);
    EXPECT_EQ(pathOf(u"/srv"_s, {}), u"Path: /srv"_s);
}

TEST(SessionInfoTest, aPlaceholdersIdentifierIsNotShown)
{
    VantrySession::Init given = init();
    given.id = u"pending-3d0d"_s;

    EXPECT_TRUE(rowsOf(VantrySession(given)).filter(u"Session"_s).isEmpty());
}

TEST(SessionInfoTest, aHugePromptIsCut)
{
    VantrySession::Init given = init();
    given.lastPrompt = u"x"_s.repeated(5'000'000);

    EXPECT_EQ(rowsOf(VantrySession(given)).last(), u"Last Prompt: "_s + u"x"_s.repeated(500) + u"…"_s);
}

TEST(SessionInfoTest, aFullContextIsNoneUsedAndAnEmptyOneAll)
{
    VantrySession session(init());
    session.setContextPercent(100);
    EXPECT_TRUE(rowsOf(session).contains(u"Context: 0% used"_s));
    session.setContextPercent(0);
    EXPECT_TRUE(rowsOf(session).contains(u"Context: 100% used"_s));
}

TEST(SessionInfoTest, theStatusGoesByTheState)
{
    VantrySession session(init());
    const auto statusIn = [&session](SessionState state) {
        session.setState(state);
        return statusOf(session);
    };

    EXPECT_EQ(statusIn(SessionState::ready),
              (SessionStatus { u"circle.fill"_s, u"Ready"_s, ChatViewModel::ReadyTone }));
    EXPECT_EQ(statusIn(SessionState::working),
              (SessionStatus { u"arrow.triangle.2.circlepath"_s, u"Working..."_s, ChatViewModel::AttentionTone }));
    EXPECT_EQ(statusIn(SessionState::launching),
              (SessionStatus { u"arrow.triangle.2.circlepath"_s, u"Launching..."_s, ChatViewModel::AttentionTone }));
    EXPECT_EQ(
        statusIn(SessionState::needsPermission),
        (SessionStatus { u"exclamationmark.triangle.fill"_s, u"Needs Permission"_s, ChatViewModel::AttentionTone }));
    EXPECT_EQ(statusIn(SessionState::hasQuestion),
              (SessionStatus { u"questionmark.circle.fill"_s, u"Has Questions"_s, ChatViewModel::AttentionTone }));
}

TEST(SessionInfoTest, aSessionThatHasEndedIsFinished)
{
    VantrySession session(init());
    session.setAlive(false);

    EXPECT_EQ(statusOf(session), (SessionStatus { u"circle.fill"_s, u"Finished"_s, ChatViewModel::NeutralTone }));
}

} // namespace
} // namespace vantry
