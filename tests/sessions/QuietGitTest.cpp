#include "sessions/QuietGit.h"

#include "sessions/GitFacts.h"
#include "sessions/GitRepositories.h"
#include "support/ManualMainQueue.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace vantry::test {

namespace {

/// A repository whose configuration names a program that leaves a mark when it runs.
class HostileRepositoryTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QDir(m_folder.path()).mkpath(QStringLiteral("repository"));
        makeRepositoryIn(m_repository);
        gitIn(m_repository, "branch other");
        writeScript(m_program, "echo ran >> '" + m_mark.toUtf8() + "'\ncat\n");
    }

    void configure(const QString &key, const QString &value) const
    {
        gitIn(m_repository, { QStringLiteral("config"), key, value });
    }
    /// Changes "file" to other content of the same length, so that git must read it.
    void changeFile() const { writeFile(m_repository + QStringLiteral("/file"), "two\n"); }
    void giveAttributes(const QByteArray &text) const
    {
        writeFile(m_repository + QStringLiteral("/.git/info/attributes"), text);
    }
    [[nodiscard]] bool takeMark() const { return QFile::remove(m_mark); }

    /// All that Vantry asks by itself. Gives the added lines.
    int askEverything()
    {
        VantrySession::Init init;
        init.cwd = m_repository;
        const auto session = std::make_shared<VantrySession>(std::move(init));
        m_git.detectGitBranch(*session);
        EXPECT_EQ(session->gitBranch(), QStringLiteral("main"));
        m_git.sampleGitDiff(session, {});
        EXPECT_TRUE(m_mainQueue.drainWhenPosted(std::chrono::seconds { 60 }));
        const auto check = m_git.checkBranch(m_repository, QStringLiteral("other"));
        EXPECT_TRUE(std::holds_alternative<BranchCheckResult::DifferentBranch>(check.value));
        return session->gitLinesAdded().value_or(-1);
    }

    QTemporaryDir m_folder;
    QString m_repository { m_folder.filePath(QStringLiteral("repository")) };
    QString m_program { m_folder.filePath(QStringLiteral("program")) };
    QString m_mark { m_folder.filePath(QStringLiteral("mark")) };
    ManualMainQueue m_mainQueue;
    WorkerPool m_workers;
    GitFacts m_git { m_mainQueue, m_workers };
};

class MayNameFiltersTest : public ::testing::Test
{
protected:
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }
    /// Writes a file with its folders.
    void write(const QString &name, const QByteArray &text) const
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path(name)).path()));
        writeFile(path(name), text);
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(HostileRepositoryTest, startsNoFileSystemMonitor)
{
    configure(QStringLiteral("core.fsmonitor"), m_program);
    changeFile();
    gitIn(m_repository, "diff HEAD --shortstat");
    ASSERT_TRUE(takeMark());

    EXPECT_EQ(askEverything(), 1);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, startsNoHook)
{
    const QString hook = m_repository + QStringLiteral("/.git/hooks/post-index-change");
    writeScript(hook, "echo ran >> '" + m_mark.toUtf8() + "'\n");
    const QString file = m_repository + QStringLiteral("/file");
    const auto touch = [&] { QProcess::execute(QStringLiteral("/usr/bin/touch"), { QStringLiteral("-d@1"), file }); };
    touch();
    gitIn(m_repository, "status --porcelain");
    ASSERT_TRUE(takeMark());
    touch();

    EXPECT_EQ(askEverything(), 0);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, startsNoCleanFilter)
{
    configure(QStringLiteral("filter.x.y-\u00fc.clean"), m_program);
    configure(QStringLiteral("filter.x.y-\u00fc.required"), QStringLiteral("true"));
    giveAttributes("file filter=x.y-\u00fc\n");
    changeFile();
    gitIn(m_repository, "diff HEAD --shortstat");
    ASSERT_TRUE(takeMark());

    EXPECT_EQ(askEverything(), 1);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, startsNoFilterProcess)
{
    configure(QStringLiteral("filter.plain.process"), m_program);
    giveAttributes("file filter=plain\n");
    changeFile();
    gitIn(m_repository, "diff HEAD --shortstat");
    ASSERT_TRUE(takeMark());

    EXPECT_EQ(askEverything(), 1);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, startsNoFilterThatAnIncludedFileDefines)
{
    writeFile(m_folder.filePath(QStringLiteral("included")),
              "[filter \"plain\"]\n\tclean = " + m_program.toUtf8() + "\n");
    configure(QStringLiteral("include.path"), m_folder.filePath(QStringLiteral("included")));
    giveAttributes("file filter=plain\n");
    changeFile();
    gitIn(m_repository, "diff HEAD --shortstat");
    ASSERT_TRUE(takeMark());

    EXPECT_EQ(askEverything(), 1);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, asksNothingWhereAFilterHasANameThatCannotBePassedOn)
{
    QFile configuration(m_repository + QStringLiteral("/.git/config"));
    ASSERT_TRUE(configuration.open(QIODevice::Append));
    configuration.write("[filter \"\xff\"]\n\tclean = " + m_program.toUtf8() + "\n");
    configuration.close();
    giveAttributes("file filter=\xff\n");
    changeFile();
    gitIn(m_repository, "diff HEAD --shortstat");
    ASSERT_TRUE(takeMark());

    EXPECT_EQ(
        m_git.runGit({ QStringLiteral("diff"), QStringLiteral("HEAD"), QStringLiteral("--shortstat") }, m_repository),
        std::nullopt);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, startsNothingThatASubmoduleNames)
{
    QDir(m_folder.path()).mkpath(QStringLiteral("library"));
    const QString library = makeRepositoryIn(m_folder.filePath(QStringLiteral("library")));
    gitIn(m_repository, { QStringLiteral("submodule"), QStringLiteral("--quiet"), QStringLiteral("add"), library,
                          QStringLiteral("library") });
    gitIn(m_repository, "commit -q -m submodule");
    const QString modules = m_repository + QStringLiteral("/.git/modules/library");
    gitIn(modules, { QStringLiteral("config"), QStringLiteral("filter.plain.clean"), m_program });
    gitIn(modules, { QStringLiteral("config"), QStringLiteral("core.fsmonitor"), m_program });
    writeFile(modules + QStringLiteral("/info/attributes"), "file filter=plain\n");
    writeFile(m_repository + QStringLiteral("/library/file"), "two\n");
    // A repository can ask for its submodules to be looked into.
    gitIn(m_repository,
          { QStringLiteral("config"), QStringLiteral("submodule.library.ignore"), QStringLiteral("none") });
    gitIn(m_repository, "diff HEAD --shortstat");
    ASSERT_TRUE(takeMark());

    EXPECT_EQ(askEverything(), 0);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, startsNoTransportOfAPartialClone)
{
    writeScript(m_program, "echo ran >> '" + m_mark.toUtf8() + "'\n");
    configure(QStringLiteral("extensions.partialClone"), QStringLiteral("origin"));
    configure(QStringLiteral("core.repositoryFormatVersion"), QStringLiteral("1"));
    configure(QStringLiteral("remote.origin.url"), QString(QStringLiteral("ext::") + m_program));
    configure(QStringLiteral("protocol.ext.allow"), QStringLiteral("always"));
    configure(QStringLiteral("remote.origin.promisor"), QStringLiteral("true"));
    const QString blob = gitIn(m_repository, "rev-parse HEAD:file");
    ASSERT_TRUE(QFile::remove(m_repository + QStringLiteral("/.git/objects/") + blob.first(2) + u'/' + blob.sliced(2)));
    changeFile();
    gitIn(m_repository, { QStringLiteral("diff"), QStringLiteral("HEAD") }, Expect::Anything);
    ASSERT_TRUE(takeMark());

    askEverything();

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, startsNoneOfTheOtherProgramsThatAConfigurationCanName)
{
    for (const char *key :
         { "core.pager", "pager.diff", "pager.branch", "pager.status", "core.editor", "sequence.editor", "core.askPass",
           "core.sshCommand", "core.gitProxy", "credential.helper", "diff.external", "diff.driver.command",
           "diff.driver.textconv", "gpg.program", "interactive.diffFilter", "uploadpack.packObjectsHook",
           "core.alternateRefsCommand", "filter.driver.smudge", "merge.driver.driver" })
        configure(QString::fromLatin1(key), m_program);
    for (const char *command : { "alias.diff", "alias.status", "alias.branch", "alias.rev-parse", "alias.config" })
        configure(QString::fromLatin1(command), u'!' + m_program);
    giveAttributes("file diff=driver filter=driver merge=driver\n");
    changeFile();

    EXPECT_EQ(askEverything(), 1);

    EXPECT_FALSE(takeMark());
}

TEST_F(HostileRepositoryTest, runsHooksAndFiltersWhenTheUserSwitchesTheBranch)
{
    writeScript(m_repository + QStringLiteral("/.git/hooks/post-checkout"), "echo ran >> '" + m_mark.toUtf8() + "'\n");

    EXPECT_EQ(m_git.switchBranch(m_repository, QStringLiteral("other")), std::nullopt);
    EXPECT_TRUE(takeMark());

    writeFile(m_repository + QStringLiteral("/new"), "new\n");
    gitIn(m_repository, "add new");
    gitIn(m_repository, "commit -q -m second");
    gitIn(m_repository, "checkout -q main");
    configure(QStringLiteral("filter.plain.smudge"), m_program);
    giveAttributes("new filter=plain\n");
    ASSERT_TRUE(takeMark());
    ASSERT_TRUE(QFile::remove(m_repository + QStringLiteral("/.git/hooks/post-checkout")));

    EXPECT_EQ(m_git.switchBranch(m_repository, QStringLiteral("other")), std::nullopt);
    EXPECT_TRUE(takeMark());
}

TEST_F(HostileRepositoryTest, leavesTheIndexAsItIs)
{
    const QString file = m_repository + QStringLiteral("/file");
    QProcess::execute(QStringLiteral("/usr/bin/touch"), { QStringLiteral("-d@1"), file });
    QFile index(m_repository + QStringLiteral("/.git/index"));
    ASSERT_TRUE(index.open(QIODevice::ReadOnly));
    const QByteArray before = index.readAll();

    askEverything();

    QFile after(index.fileName());
    ASSERT_TRUE(after.open(QIODevice::ReadOnly));
    EXPECT_EQ(after.readAll(), before);
}

TEST_F(MayNameFiltersTest, isFalseWithoutARepositoryAndForAnOrdinaryOne)
{
    EXPECT_FALSE(mayNameFilters(m_folder.path()));

    QDir().mkpath(path(QStringLiteral("plain/below")));
    makeRepositoryIn(path(QStringLiteral("plain")));

    EXPECT_FALSE(mayNameFilters(path(QStringLiteral("plain"))));
    EXPECT_FALSE(mayNameFilters(path(QStringLiteral("plain/below"))));
}

TEST_F(MayNameFiltersTest, isTrueForASectionOfFiltersOrOfIncludedFilesInAnyLetters)
{
    for (const QByteArray &section :
         { QByteArray("[filter \"x\"]"), QByteArray("[FiLTer \"x\"]"), QByteArray("[include]"),
           QByteArray("[core]\n\t# filter"), QByteArray("[IncludeIf \"gitdir:/\"]") }) {
        write(QStringLiteral("r/.git/config"), section);
        EXPECT_TRUE(mayNameFilters(path(QStringLiteral("r")))) << section.toStdString();
    }
}

TEST_F(MayNameFiltersTest, looksAtEveryRepositoryAround)
{
    write(QStringLiteral("outer/.git/config"), "[filter \"x\"]");
    write(QStringLiteral("outer/inner/.git/config"), "[core]");

    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("outer/inner"))));
}

TEST_F(MayNameFiltersTest, looksAtWhereALinkLeads)
{
    write(QStringLiteral("r/.git/config"), "[filter \"x\"]");
    QDir().mkpath(path(QStringLiteral("r/below")));
    ASSERT_TRUE(QFile::link(path(QStringLiteral("r/below")), path(QStringLiteral("link"))));

    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("link"))));
}

TEST_F(MayNameFiltersTest, looksAtABareRepositoryAndAtTheConfigurationOfOneWorkTree)
{
    write(QStringLiteral("bare/HEAD"), "ref: refs/heads/main\n");
    write(QStringLiteral("bare/config"), "[filter \"x\"]");
    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("bare"))));

    write(QStringLiteral("r/.git/config"), "[core]");
    EXPECT_FALSE(mayNameFilters(path(QStringLiteral("r"))));
    write(QStringLiteral("r/.git/config.worktree"), "[filter \"x\"]");
    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("r"))));
}

TEST_F(MayNameFiltersTest, isTrueWhenInDoubt)
{
    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("missing"))));

    write(QStringLiteral("linked/.git"), "gitdir: /elsewhere\n");
    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("linked"))));

    write(QStringLiteral("shared/.git/commondir"), "/elsewhere\n");
    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("shared"))));

    write(QStringLiteral("large/.git/config"), QByteArray(2'000'000, '#'));
    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("large"))));

    QDir().mkpath(path(QStringLiteral("fifo/.git")));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path(QStringLiteral("fifo/.git/config"))).constData(), 0600), 0);
    EXPECT_TRUE(mayNameFilters(path(QStringLiteral("fifo"))));
}

} // namespace vantry::test
