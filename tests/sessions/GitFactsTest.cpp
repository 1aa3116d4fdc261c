#include "sessions/GitFacts.h"

#include "sessions/GitFactsFixture.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace vantry::test {

namespace {

class GitFactsTest : public GitFactsFixture
{};

} // namespace

TEST(ParseShortStat, readsInsertionsAndDeletions)
{
    EXPECT_EQ(parseShortStat(QStringLiteral("1 file changed, 1 insertion(+)")), std::pair(1, 0));
    EXPECT_EQ(parseShortStat(QStringLiteral("1 file changed, 1 deletion(-)")), std::pair(0, 1));
    EXPECT_EQ(parseShortStat(QStringLiteral("12 files changed, 10 insertions(+), 3 deletions(-)")), std::pair(10, 3));
    EXPECT_EQ(parseShortStat(QStringLiteral("1 file changed, 0 insertions(+), 0 deletions(-)")), std::pair(0, 0));
}

TEST(ParseShortStat, givesZerosForWhatIsNotThere)
{
    EXPECT_EQ(parseShortStat(std::nullopt), std::pair(0, 0));
    EXPECT_EQ(parseShortStat(QString()), std::pair(0, 0));
    EXPECT_EQ(parseShortStat(QStringLiteral("no insertion, x deletion")), std::pair(0, 0));
    EXPECT_EQ(parseShortStat(QStringLiteral("3 Insertions")), std::pair(0, 0));
}

TEST(ParseShortStat, givesZeroForANumberThatIsTooLarge)
{
    EXPECT_EQ(parseShortStat(QStringLiteral("99999999999999999999 insertions(+), 2 deletions(-)")), std::pair(0, 2));
}

TEST_F(GitFactsTest, detectsTheBranch)
{
    const QString repository = makeRepository();
    gitIn(repository, "checkout -q -b feature/x");

    EXPECT_EQ(branchIn(m_git, repository), QStringLiteral("feature/x"));
}

TEST_F(GitFactsTest, detectsTheBranchFromWithinTheRepository)
{
    const QString repository = makeRepository();
    ASSERT_TRUE(QDir(repository).mkpath(QStringLiteral("deep/down")));

    EXPECT_EQ(branchIn(m_git, repository + QStringLiteral("/deep/down")), QStringLiteral("main"));
}

TEST_F(GitFactsTest, detectsTheBranchInALinkedWorkTree)
{
    const QString repository = makeRepository();
    gitIn(repository, { QStringLiteral("worktree"), QStringLiteral("add"), QStringLiteral("-q"), QStringLiteral("-b"),
                        QStringLiteral("side"), path(QStringLiteral("tree")) });

    EXPECT_EQ(branchIn(m_git, path(QStringLiteral("tree"))), QStringLiteral("side"));
}

TEST_F(GitFactsTest, keepsTheBranchThatItDetectedFirst)
{
    const QString repository = makeRepository();
    const SessionPtr session = sessionIn(repository);
    m_git.detectGitBranch(*session);

    gitIn(repository, "checkout -q -b other");
    m_git.detectGitBranch(*session);

    EXPECT_EQ(session->gitBranch(), QStringLiteral("main"));
}

TEST_F(GitFactsTest, detectsNoBranchOnADetachedHead)
{
    const QString repository = makeRepository();
    gitIn(repository, "checkout -q --detach");

    EXPECT_EQ(branchIn(m_git, repository), std::nullopt);
}

TEST_F(GitFactsTest, detectsNoBranchWhereThereIsNone)
{
    const QString empty = folder(QStringLiteral("empty"));
    gitIn(empty, "init -q");
    const QString fifo = path(QStringLiteral("fifo"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);

    EXPECT_EQ(branchIn(m_git, empty), std::nullopt);
    EXPECT_EQ(branchIn(m_git, m_folder.path()), std::nullopt);
    EXPECT_EQ(branchIn(m_git, path(QStringLiteral("missing"))), std::nullopt);
    EXPECT_EQ(branchIn(m_git, fifo), std::nullopt);
}

TEST_F(GitFactsTest, entersNothingButAnAbsoluteDirectory)
{
    GitFacts git = factsFromScript("echo main\n");

    EXPECT_EQ(branchIn(git, m_folder.path()), QStringLiteral("main"));
    EXPECT_EQ(branchIn(git, QString()), std::nullopt);
    EXPECT_EQ(branchIn(git, QStringLiteral(".")), std::nullopt);
    EXPECT_EQ(branchIn(git, QString(m_folder.path() + QChar::Null + u'x')), std::nullopt);
    EXPECT_EQ(git.checkBranch(QString(), QStringLiteral("x")),
              (BranchCheckResult { BranchCheckResult::NotGitRepo {} }));
    EXPECT_EQ(git.switchBranch(QStringLiteral("."), QStringLiteral("x")), QStringLiteral("Failed to switch branch"));
    EXPECT_EQ(sampled(git, QString()), Figures(0, 0));
}

TEST_F(GitFactsTest, asksForTheBranchWithTheseArguments)
{
    GitFacts git = factsFromScript("echo \"$# $*\"\n");

    EXPECT_EQ(branchIn(git, m_folder.path()), QStringLiteral("3 rev-parse --abbrev-ref HEAD"));
}

TEST_F(GitFactsTest, takesNoBranchFromAGitThatFailsOrSaysNothing)
{
    for (const char *script : { "echo main; exit 1\n", "echo main >&2\n", "echo '  '\n", "echo HEAD\n",
                                "printf 'ma\\377in'\n", "echo main; kill -9 $$\n" }) {
        GitFacts git = factsFromScript(script);
        EXPECT_EQ(branchIn(git, m_folder.path()), std::nullopt) << script;
    }
}

TEST_F(GitFactsTest, waitsForNoGitThatHangs)
{
    GitFacts git = factsFromScript("echo main; exec sleep 600\n");

    EXPECT_EQ(branchIn(git, m_folder.path()), std::nullopt);
}

TEST_F(GitFactsTest, waitsForNoChildOfGitThatKeepsItsOutputOpen)
{
    GitFacts git = factsFromScript("sleep 600 &\necho $! > \"$0.pid\"\necho main\n");

    EXPECT_EQ(branchIn(git, m_folder.path()), QStringLiteral("main"));

    QFile file(path(QStringLiteral("git.pid")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QProcess::execute(QStringLiteral("/bin/kill"), { QString::fromLatin1(file.readAll().trimmed()) });
}

TEST_F(GitFactsTest, countsTheLinesOfAllUncommittedChanges)
{
    const QString repository = makeRepository();
    writeFile(repository + QStringLiteral("/file"), "two\nthree\n");
    writeFile(repository + QStringLiteral("/staged"), "1\n2\n3\n");
    gitIn(repository, "add staged");

    EXPECT_EQ(sampled(m_git, repository), Figures(5, 1));
    EXPECT_EQ(sampled(m_git, folder(QStringLiteral("repository/below"))), Figures(5, 1));
}

TEST_F(GitFactsTest, countsNothingInACleanTree)
{
    EXPECT_EQ(sampled(m_git, makeRepository()), Figures(0, 0));
}

TEST_F(GitFactsTest, countsNothingWhereGitFails)
{
    EXPECT_EQ(sampled(m_git, m_folder.path()), Figures(0, 0));
    EXPECT_EQ(sampled(m_git, path(QStringLiteral("missing"))), Figures(0, 0));
}

TEST_F(GitFactsTest, countsInDirectoriesOfEveryName)
{
    for (const QString &name : { QStringLiteral("a b"), QStringLiteral("-f"), QStringLiteral("'\"$(x)`"),
                                 QStringLiteral("a\nb"), QStringLiteral("\u00fc\U0001F600") }) {
        const QString repository = makeRepository(name);
        writeFile(repository + QStringLiteral("/file"), "one\ntwo\n");

        EXPECT_EQ(sampled(m_git, repository), Figures(1, 0)) << name.toStdString();
    }
}

TEST_F(GitFactsTest, entersADirectoryWhoseRealNameIsNoUtf8)
{
    const QString repository = makeRepository();
    writeFile(repository + QStringLiteral("/file"), "one\ntwo\n");
    const QByteArray odd = QFile::encodeName(path(QStringLiteral("odd"))) + "\xff";
    ASSERT_EQ(::rename(QFile::encodeName(repository).constData(), odd.constData()), 0);
    ASSERT_EQ(::symlink(odd.constData(), QFile::encodeName(repository).constData()), 0);

    EXPECT_EQ(sampled(m_git, repository), Figures(1, 0));

    ASSERT_EQ(::rename(odd.constData(), QFile::encodeName(path(QStringLiteral("even"))).constData()), 0);
}

TEST_F(GitFactsTest, asksForTheFiguresWithTheseArguments)
{
    GitFacts git =
        factsFromScript("[ \"$#$*\" = '3diff HEAD --shortstat' ] && echo '7 insertions(+), 2 deletions(-)'\n");

    EXPECT_EQ(sampled(git, m_folder.path()), Figures(7, 2));
}

TEST_F(GitFactsTest, readsMuchOutput)
{
    GitFacts git = factsFromScript("head -c 5000000 /dev/zero | tr '\\0' x; echo ' 7 insertions(+)'\n");

    EXPECT_EQ(sampled(git, m_folder.path()), Figures(7, 0));
}

TEST_F(GitFactsTest, readsOutputInEnglishWhateverTheUsersLanguage)
{
    GitFacts git =
        factsFromScript("[ \"$LC_ALL\" = C ] && [ -z \"$LANGUAGE$LC_MESSAGES\" ] && echo '7 insertions(+)'\n");
    qputenv("LC_MESSAGES", "de_DE.UTF-8");
    qputenv("LANGUAGE", "de");

    const Figures figures = sampled(git, m_folder.path());
    qunsetenv("LC_MESSAGES");
    qunsetenv("LANGUAGE");

    EXPECT_EQ(figures, Figures(7, 0));
}

TEST_F(GitFactsTest, passesOnNoVariablesThatSteerGit)
{
    const QString repository = makeRepository();
    qputenv("GIT_DIR", "/nonexistent");
    qputenv("GIT_WORK_TREE", "/nonexistent");
    qputenv("GIT_INDEX_FILE", "/nonexistent");

    const auto branch = branchIn(m_git, repository);
    const auto check = m_git.checkBranch(repository, QStringLiteral("main"));
    const auto failure = m_git.switchBranch(repository, QStringLiteral("main"));
    qunsetenv("GIT_DIR");
    qunsetenv("GIT_WORK_TREE");
    qunsetenv("GIT_INDEX_FILE");

    EXPECT_EQ(branch, QStringLiteral("main"));
    EXPECT_EQ(check, (BranchCheckResult { BranchCheckResult::SameBranch { QStringLiteral("main") } }));
    EXPECT_EQ(failure, std::nullopt);
}

TEST_F(GitFactsTest, tellsWhenAResultWasApplied)
{
    const QString repository = makeRepository();
    const SessionPtr session = sessionIn(repository);
    std::optional<int> seen;

    m_git.sampleGitDiff(session, [&] { seen = session->gitLinesAdded(); });
    ASSERT_FALSE(session->gitLinesAdded());
    ASSERT_TRUE(m_mainQueue.drainWhenPosted());

    EXPECT_EQ(seen, 0);
}

TEST_F(GitFactsTest, samplesNothingWithoutADirectory)
{
    bool done = false;

    m_git.sampleGitDiff(sessionIn(std::nullopt), [&] { done = true; });
    m_workers.waitForDone();
    m_mainQueue.drainAll();

    EXPECT_FALSE(done);
}

TEST_F(GitFactsTest, sharesOneRunAmongOverlappingSamplesOfADirectory)
{
    GitFacts git = factsFromScript("echo run >> \"$0.runs\"; echo '7 insertions(+)'\n");
    const SessionPtr first = sessionIn(m_folder.path());
    const SessionPtr second = sessionIn(m_folder.path());
    int done = 0;

    for (const SessionPtr &session : { first, second, first })
        git.sampleGitDiff(session, [&] { ++done; });
    m_workers.waitForDone();
    m_mainQueue.drainAll();

    QFile runs(path(QStringLiteral("git.runs")));
    ASSERT_TRUE(runs.open(QIODevice::ReadOnly));
    EXPECT_EQ(runs.readAll(), "run\n");
    EXPECT_EQ(first->gitLinesAdded(), 7);
    EXPECT_EQ(second->gitLinesAdded(), 7);
    EXPECT_EQ(done, 3);
}

TEST_F(GitFactsTest, runsAgainForASampleAfterTheResultOfTheLast)
{
    GitFacts git = factsFromScript("echo x >> \"$0.runs\"; echo \"$(wc -l < \"$0.runs\") insertions(+)\"\n");

    EXPECT_EQ(sampled(git, m_folder.path()), Figures(1, 0));
    EXPECT_EQ(sampled(git, m_folder.path()), Figures(2, 0));
}

TEST_F(GitFactsTest, samplesAgainFromWithinTheCallOfALastResult)
{
    const SessionPtr session = sessionIn(makeRepository());
    int done = 0;

    m_git.sampleGitDiff(session, [&] {
        if (++done == 1)
            m_git.sampleGitDiff(session, [&] { ++done; });
    });
    m_workers.waitForDone();
    m_mainQueue.drainAll();
    m_workers.waitForDone();
    m_mainQueue.drainAll();

    EXPECT_EQ(done, 2);
}

TEST_F(GitFactsTest, keepsNoSessionAliveAndWritesToNoneThatIsGone)
{
    SessionPtr session = sessionIn(makeRepository());
    const std::weak_ptr<VantrySession> gone = session;
    bool done = false;

    m_git.sampleGitDiff(session, [&] { done = true; });
    session.reset();
    EXPECT_TRUE(gone.expired());
    m_workers.waitForDone();
    m_mainQueue.drainAll();

    EXPECT_FALSE(done);
}

TEST_F(GitFactsTest, writesNothingOnceItIsGoneItself)
{
    const SessionPtr session = sessionIn(makeRepository());
    {
        GitFacts git(m_mainQueue, m_workers);
        git.sampleGitDiff(session, [] {});
    }
    m_workers.waitForDone();
    m_mainQueue.drainAll();

    EXPECT_EQ(session->gitLinesAdded(), std::nullopt);
}

TEST_F(GitFactsTest, givesTheTrimmedOutputOfGit)
{
    const QString repository = makeRepository();

    EXPECT_EQ(m_git.runGit({ QStringLiteral("log"), QStringLiteral("--format= %s ") }, repository),
              QStringLiteral("first"));
    EXPECT_EQ(m_git.runGit({ QStringLiteral("diff") }, repository), std::nullopt);
    EXPECT_EQ(m_git.runGit({ QStringLiteral("no-such-command") }, repository), std::nullopt);
}

TEST_F(GitFactsTest, givesTextAndExitStatusOfATool)
{
    EXPECT_EQ(m_git.runTool(QStringLiteral("printf"), { QStringLiteral(" a b\n") }),
              std::pair(std::optional(QStringLiteral("a b")), 0));
    EXPECT_EQ(m_git.runTool(QStringLiteral("true"), {}), std::pair(std::optional(QString()), 0));
    EXPECT_EQ(m_git.runTool(QStringLiteral("no-such-tool"), {}), std::pair(std::optional<QString>(), -1));
}

TEST_F(GitFactsTest, givesTheErrorTextOfAToolThatFails)
{
    GitFacts git = factsFromScript("echo out; echo ' err ' >&2; exit 3\n");

    EXPECT_EQ(git.runTool(QStringLiteral("git"), {}), std::pair(std::optional(QStringLiteral("err")), 3));
}

TEST_F(GitFactsTest, givesTheOutputOfAToolWhoseErrorTextIsNoUtf8)
{
    GitFacts git = factsFromScript("echo out; printf '\\377' >&2; exit 3\n");

    EXPECT_EQ(git.runTool(QStringLiteral("git"), {}), std::pair(std::optional(QStringLiteral("out")), 3));
}

TEST_F(GitFactsTest, givesNoTextForOutputThatIsNoUtf8)
{
    GitFacts git = factsFromScript("printf '\\377'\n");

    EXPECT_EQ(git.runTool(QStringLiteral("git"), {}), std::pair(std::optional<QString>(), 0));
}

TEST_F(GitFactsTest, neverLetsGitPrompt)
{
    const QByteArray script = "[ \"$GIT_TERMINAL_PROMPT\" = 0 ] && [ \"$GIT_ASKPASS\" = /bin/false ] && "
                              "[ \"$SSH_ASKPASS\" = /bin/false ] && ! read line && echo '7 insertions(+)'\n";
    GitFacts git = factsFromScript(script);

    EXPECT_EQ(sampled(git, m_folder.path()), Figures(7, 0));
    EXPECT_EQ(git.switchBranch(m_folder.path(), QStringLiteral("x")), std::nullopt);
}

TEST_F(GitFactsTest, takesNoLocksThatItCanDoWithout)
{
    GitFacts git = factsFromScript("[ \"$GIT_OPTIONAL_LOCKS\" = 0 ] && echo '7 insertions(+)'\n");

    EXPECT_EQ(sampled(git, m_folder.path()), Figures(7, 0));
}

} // namespace vantry::test
