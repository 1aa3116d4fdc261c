#include "sessions/VantrySession.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace vantry::test {

namespace {

constexpr Date now { std::chrono::seconds { 1'800'000'000 } };

VantrySession::Init ordinary()
{
    return { .id = QStringLiteral("0123456789abcdef"),
             .agentTool = AgentTool::claudeCode,
             .terminalType = {},
             .terminalSessionID = {},
             .state = SessionState::working,
             .projectName = {},
             .cwd = {},
             .lastPrompt = {},
             .toolName = {},
             .pid = {},
             .pidStartTime = {},
             .lastMessage = {},
             .lastUpdated = now,
             .startedAt = now,
             .isAlive = true };
}

/// Counts what a session tells of its changes.
class ChangeCounter
{
public:
    explicit ChangeCounter(const VantrySession &session)
    {
        QObject::connect(&session, &VantrySession::changed, &m_receiver, [this] { ++m_count; });
    }

    [[nodiscard]] int count() const { return m_count; }

private:
    int m_count { 0 };
    QObject m_receiver;
};

/// A home folder with the agent's transcripts.
class TranscriptPath : public ::testing::Test
{
protected:
    [[nodiscard]] QString home() const { return m_home.path(); }
    QString makeFile(const QString &path) const
    {
        const QString full = m_home.filePath(path);
        EXPECT_TRUE(QDir().mkpath(QFileInfo(full).path()));
        QFile file(full);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return full;
    }
    QString makeTranscript(const QString &folder) const
    {
        return makeFile(QStringLiteral(".claude/projects/") + folder + QStringLiteral("/0123456789abcdef.jsonl"));
    }

    QTemporaryDir m_home;
    VantrySession m_session { ordinary() };
};

} // namespace

TEST(VantrySession, keepsWhatItIsMadeFrom)
{
    const VantrySession session({ .id = QStringLiteral("id"),
                                  .agentTool = AgentTool::aider,
                                  .terminalType = QStringLiteral("kitty-window"),
                                  .terminalSessionID = QStringLiteral("7"),
                                  .state = SessionState::ready,
                                  .projectName = QStringLiteral("vantry"),
                                  .cwd = QStringLiteral("/src/vantry"),
                                  .lastPrompt = QStringLiteral("go"),
                                  .toolName = QStringLiteral("Bash"),
                                  .pid = 4242,
                                  .pidStartTime = 17.5,
                                  .lastMessage = QStringLiteral("done"),
                                  .lastUpdated = now,
                                  .startedAt = now - std::chrono::seconds { 5 },
                                  .isAlive = false });

    EXPECT_EQ(session.id(), QStringLiteral("id"));
    EXPECT_EQ(session.agentTool(), AgentTool::aider);
    EXPECT_EQ(session.terminalType(), QStringLiteral("kitty-window"));
    EXPECT_EQ(session.terminalSessionID(), QStringLiteral("7"));
    EXPECT_EQ(session.state(), SessionState::ready);
    EXPECT_EQ(session.projectName(), QStringLiteral("vantry"));
    EXPECT_EQ(session.cwd(), QStringLiteral("/src/vantry"));
    EXPECT_EQ(session.lastPrompt(), QStringLiteral("go"));
    EXPECT_EQ(session.toolName(), QStringLiteral("Bash"));
    EXPECT_EQ(session.pid(), 4242);
    EXPECT_EQ(session.pidStartTime(), 17.5);
    EXPECT_EQ(session.lastMessage(), QStringLiteral("done"));
    EXPECT_EQ(session.lastUpdated(), now);
    EXPECT_EQ(session.startedAt(), now - std::chrono::seconds { 5 });
    EXPECT_FALSE(session.isAlive());
}

TEST(VantrySession, beginsWithoutEverythingElse)
{
    const VantrySession session(ordinary());

    EXPECT_FALSE(session.lastAttentionDate());
    EXPECT_FALSE(session.endedAt());
    EXPECT_FALSE(session.toolDetail());
    EXPECT_FALSE(session.shellPid());
    EXPECT_FALSE(session.transcriptPath());
    EXPECT_FALSE(session.gitBranch());
    EXPECT_FALSE(session.contextPercent());
    EXPECT_FALSE(session.gitLinesAdded());
    EXPECT_FALSE(session.gitLinesRemoved());
    EXPECT_FALSE(session.telegramTopicID());
    EXPECT_FALSE(session.questions());
    EXPECT_EQ(session.activeSubagentCount(), 0);
    EXPECT_FALSE(session.isCompacting());
    EXPECT_TRUE(session.promptHistory().isEmpty());
    EXPECT_TRUE(session.toolHistory().isEmpty());
}

TEST(VantrySession, tellsOfAChangeOnceItIsMade)
{
    VantrySession session(ordinary());
    SessionState seen = session.state();
    QObject::connect(&session, &VantrySession::changed, [&] { seen = session.state(); });

    session.setState(SessionState::ready);

    EXPECT_EQ(seen, SessionState::ready);
}

TEST(VantrySession, tellsNothingOfTheSameValueAgain)
{
    VantrySession session(ordinary());
    session.setToolName(QStringLiteral("Bash"));
    const ChangeCounter changes(session);

    session.setToolName(QStringLiteral("Bash"));
    session.setLastUpdated(now);

    EXPECT_EQ(changes.count(), 0);
}

TEST(VantrySession, tellsAnAbsentTextFromAnEmptyOne)
{
    VantrySession session(ordinary());
    const ChangeCounter changes(session);

    session.setToolName(QString());

    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(session.toolName(), QString());
}

TEST(VantrySession, keepsItsHistoriesInOrderAndSilently)
{
    VantrySession session(ordinary());
    const ChangeCounter changes(session);

    session.appendPrompt(QStringLiteral("a"));
    session.appendPrompt(QStringLiteral("a"));
    session.appendTool(QStringLiteral("Bash"));
    session.appendTool(QStringLiteral("Edit"));

    EXPECT_EQ(session.promptHistory(), QStringList({ QStringLiteral("a"), QStringLiteral("a") }));
    EXPECT_EQ(session.toolHistory(), QStringList({ QStringLiteral("Bash"), QStringLiteral("Edit") }));
    EXPECT_EQ(changes.count(), 0);
}

TEST(StatusText, tellsTheState)
{
    VantrySession session(ordinary());

    session.setState(SessionState::launching);
    EXPECT_EQ(session.statusText(), QStringLiteral("Starting Claude Code..."));
    session.setState(SessionState::working);
    EXPECT_EQ(session.statusText(), QStringLiteral("Working..."));
    session.setState(SessionState::needsPermission);
    EXPECT_EQ(session.statusText(), QStringLiteral("Needs permission"));
    session.setState(SessionState::hasQuestion);
    EXPECT_EQ(session.statusText(), QStringLiteral("Has questions"));
    session.setState(SessionState::ready);
    EXPECT_EQ(session.statusText(), QStringLiteral("Ready"));
}

TEST(StatusText, namesTheToolThatAsks)
{
    VantrySession session(ordinary());
    session.setState(SessionState::needsPermission);

    session.setToolName(QStringLiteral("Bash"));
    EXPECT_EQ(session.statusText(), QStringLiteral("Needs permission: Bash"));

    session.setToolName(QStringLiteral(""));
    EXPECT_EQ(session.statusText(), QStringLiteral("Needs permission: "));
}

TEST(StatusText, isFinishedInEveryStateOfADeadSession)
{
    VantrySession session(ordinary());
    session.setAlive(false);

    for (const SessionState state : { SessionState::launching, SessionState::working, SessionState::needsPermission,
                                      SessionState::hasQuestion, SessionState::ready }) {
        session.setState(state);
        EXPECT_EQ(session.statusText(), QStringLiteral("Finished"));
    }
}

TEST(ElapsedText, countsFromTheLastActivity)
{
    VantrySession session(ordinary());
    session.setStartedAt(now - std::chrono::hours { 48 });

    session.setLastUpdated(now - std::chrono::seconds { 300 });
    EXPECT_EQ(session.elapsedText(now), QStringLiteral("5m ago"));

    session.setLastUpdated(now + std::chrono::seconds { 300 });
    EXPECT_EQ(session.elapsedText(now), QStringLiteral("just now"));
}

TEST(PreviewLine, isTheAgentsLastMessage)
{
    VantrySession session(ordinary());
    session.setLastPrompt(QStringLiteral("prompt"));
    session.setToolDetail(QStringLiteral("ls"));
    session.setLastMessage(QStringLiteral("---\n# Done"));

    EXPECT_EQ(session.previewLine(), QStringLiteral("# Done"));
}

TEST(PreviewLine, fallsBackOnThePromptWhenTheMessageSaysNothing)
{
    VantrySession session(ordinary());
    session.setLastPrompt(QStringLiteral("\nprompt"));
    session.setLastMessage(QStringLiteral("---\n"));

    EXPECT_EQ(session.previewLine(), QStringLiteral("prompt"));
}

TEST(PreviewLine, isTheToolsDetailWhileItNeedsPermission)
{
    VantrySession session(ordinary());
    session.setState(SessionState::needsPermission);
    session.setLastMessage(QStringLiteral("message"));
    session.setToolDetail(QStringLiteral("rm -r /tmp/a/b/c"));

    EXPECT_EQ(session.previewLine(), QStringLiteral("rm -r …/b/c"));
}

TEST(PreviewLine, isAbsentWhenTheDetailOfARequestSaysNothing)
{
    VantrySession session(ordinary());
    session.setState(SessionState::needsPermission);
    session.setLastMessage(QStringLiteral("message"));
    session.setToolDetail(QStringLiteral("-----"));

    EXPECT_EQ(session.previewLine(), std::nullopt);
}

TEST(PreviewLine, ignoresAnEmptyDetail)
{
    VantrySession session(ordinary());
    session.setState(SessionState::needsPermission);
    session.setLastMessage(QStringLiteral("message"));
    session.setToolDetail(QStringLiteral(""));

    EXPECT_EQ(session.previewLine(), QStringLiteral("message"));
}

TEST(PreviewLine, isAbsentWithoutAnyText)
{
    EXPECT_EQ(VantrySession(ordinary()).previewLine(), std::nullopt);
}

TEST_F(TranscriptPath, isTheOneThatTheHookTold)
{
    const QString path = makeFile(QStringLiteral("told.jsonl"));
    m_session.setCwd(QStringLiteral("/src/vantry"));
    makeTranscript(QStringLiteral("-src-vantry"));
    m_session.setTranscriptPath(path);

    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), path);
}

TEST_F(TranscriptPath, fallsBackOnTheAgentsFolderWhenTheToldFileIsGone)
{
    m_session.setTranscriptPath(m_home.filePath(QStringLiteral("gone.jsonl")));
    m_session.setCwd(QStringLiteral("/src/vantry"));
    const QString path = makeTranscript(QStringLiteral("-src-vantry"));

    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), path);
}

TEST_F(TranscriptPath, isAbsentWithoutFileOrDirectory)
{
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt);
    m_session.setTranscriptPath(m_home.filePath(QStringLiteral("gone.jsonl")));
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt);
    m_session.setCwd(QStringLiteral("/src/vantry"));
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt);
}

TEST_F(TranscriptPath, replacesSeparatorsAloneInTheFoldersName)
{
    m_session.setCwd(QStringLiteral("/my src/van.try_é"));
    const QString path = makeTranscript(QStringLiteral("-my src-van.try_é"));
    makeTranscript(QStringLiteral("-my-src-van-try--"));

    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), path);
}

TEST_F(TranscriptPath, isFoundUnderTheNameThatTheAgentGivesAFolder)
{
    m_session.setCwd(QStringLiteral("/my src/van.try_é/\U0001F600/Az09"));
    const QString path = makeTranscript(QStringLiteral("-my-src-van-try------Az09"));

    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), path);
}

TEST_F(TranscriptPath, isFoundUnderALongNameThatTheAgentCut)
{
    const QString cwd = u'/' + QString(150, u'a') + u'/' + QString(150, u'b');
    const QString cut = u'-' + QString(150, u'a') + u'-' + QString(48, u'b') + u'-';
    m_session.setCwd(cwd);
    makeFile(QStringLiteral(".claude/projects/") + cut + QStringLiteral("000000/other.jsonl"));
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt);

    const QString path = makeTranscript(cut + QStringLiteral("x1y2z3"));

    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), path);
    m_session.setCwd(cwd.left(200));
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt) << "this name is not too long";
}

TEST_F(TranscriptPath, isARegularFileOrALinkToOne)
{
    const QString file = makeFile(QStringLiteral("file"));
    const QString link = m_home.filePath(QStringLiteral("link"));
    ASSERT_TRUE(QFile::link(file, link));
    const QString fifo = m_home.filePath(QStringLiteral("fifo"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);

    m_session.setTranscriptPath(link);
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), link);
    m_session.setTranscriptPath(fifo);
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt);
    m_session.setTranscriptPath(home());
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt);
    m_session.setTranscriptPath(QStringLiteral("/dev/null"));
    EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt);
}

TEST_F(TranscriptPath, isAbsentForAPathThatCanBeNone)
{
    const QString file = makeFile(QStringLiteral("file"));

    for (const QString &path :
         { QString(), QStringLiteral(":/qt-project.org"), QString(file + QChar::Null + u'x'), QString(5000, u'x') }) {
        m_session.setTranscriptPath(path);
        EXPECT_EQ(m_session.resolvedTranscriptPath(home()), std::nullopt) << path.toStdString();
    }
}

TEST(DisplayName, isTheProjectsNameOrTheStartOfTheIdentifier)
{
    VantrySession session(ordinary());

    EXPECT_EQ(session.displayName(), QStringLiteral("01234567"));
    session.setProjectName(QStringLiteral("vantry"));
    EXPECT_EQ(session.displayName(), QStringLiteral("vantry"));
}

TEST(DisplayName, takesAShortIdentifierWhole)
{
    VantrySession::Init init = ordinary();
    init.id = QStringLiteral("abc");

    EXPECT_EQ(VantrySession(init).displayName(), QStringLiteral("abc"));
}

TEST(NeedsAttention, isToldOfALiveSessionThatWaitsForTheUser)
{
    VantrySession session(ordinary());
    const auto needsAttentionIn = [&](SessionState state) {
        session.setState(state);
        return session.needsAttention();
    };

    EXPECT_TRUE(needsAttentionIn(SessionState::needsPermission));
    EXPECT_TRUE(needsAttentionIn(SessionState::hasQuestion));
    EXPECT_FALSE(needsAttentionIn(SessionState::launching));
    EXPECT_FALSE(needsAttentionIn(SessionState::working));
    EXPECT_FALSE(needsAttentionIn(SessionState::ready));

    session.setAlive(false);
    EXPECT_FALSE(needsAttentionIn(SessionState::needsPermission));
}

} // namespace vantry::test
