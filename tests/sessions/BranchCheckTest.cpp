#include "sessions/GitFacts.h"

#include "sessions/GitFactsFixture.h"

#include <QFile>

#include <gtest/gtest.h>

namespace vantry::test {

namespace {

class BranchCheckTest : public GitFactsFixture
{};

} // namespace

TEST_F(BranchCheckTest, findsTheSameBranch)
{
    EXPECT_EQ(m_git.checkBranch(makeRepository(), QStringLiteral("main")),
              (BranchCheckResult { BranchCheckResult::SameBranch { QStringLiteral("main") } }));
}

TEST_F(BranchCheckTest, offersToSwitchInACleanTreeOnly)
{
    const QString repository = makeRepository();
    gitIn(repository, "branch other");
    const auto check = [&] { return m_git.checkBranch(repository, QStringLiteral("other")); };
    const auto different = [](bool canSwitch) {
        return BranchCheckResult { BranchCheckResult::DifferentBranch { QStringLiteral("main"), QStringLiteral("other"),
                                                                        canSwitch } };
    };

    EXPECT_EQ(check(), different(true));
    writeFile(repository + QStringLiteral("/untracked"), "");
    EXPECT_EQ(check(), different(false));
}

TEST_F(BranchCheckTest, findsABranchDeleted)
{
    EXPECT_EQ(
        m_git.checkBranch(makeRepository(), QStringLiteral("gone")),
        (BranchCheckResult { BranchCheckResult::BranchDeleted { QStringLiteral("gone"), QStringLiteral("main") } }));
}

TEST_F(BranchCheckTest, hasNoCurrentBranchOnADetachedHead)
{
    const QString repository = makeRepository();
    gitIn(repository, "checkout -q --detach");

    EXPECT_EQ(m_git.checkBranch(repository, QStringLiteral("main")),
              (BranchCheckResult { BranchCheckResult::DifferentBranch { QString(), QStringLiteral("main"), true } }));
}

TEST_F(BranchCheckTest, givesGitsOwnErrorAsCurrentBranchOutsideARepository)
{
    for (const QString &directory : { m_folder.path(), path(QStringLiteral("missing")) }) {
        const BranchCheckResult result = m_git.checkBranch(directory, QStringLiteral("main"));

        const auto *different = std::get_if<BranchCheckResult::DifferentBranch>(&result.value);
        ASSERT_NE(different, nullptr);
        EXPECT_TRUE(different->current.startsWith(QStringLiteral("fatal: "))) << different->current.toStdString();
        EXPECT_FALSE(different->canSwitch);
    }
}

TEST_F(BranchCheckTest, findsNoRepositoryWithoutGit)
{
    const GitFacts git(m_mainQueue, m_workers, path(QStringLiteral("no-git")));

    EXPECT_EQ(git.checkBranch(makeRepository(), QStringLiteral("main")),
              (BranchCheckResult { BranchCheckResult::NotGitRepo {} }));
}

TEST_F(BranchCheckTest, checksBranchesWithTheseArguments)
{
    GitFacts git = factsFromScript("echo \"$*\" >> \"$0.runs\"; echo \"$3\"\n");
    const QString directory = m_folder.path();

    EXPECT_EQ(git.checkBranch(directory, QStringLiteral("x")),
              (BranchCheckResult {
                  BranchCheckResult::DifferentBranch { QStringLiteral("branch"), QStringLiteral("x"), false } }));

    QFile runs(path(QStringLiteral("git.runs")));
    ASSERT_TRUE(runs.open(QIODevice::ReadOnly));
    const QString prefix = QStringLiteral("-C ") + directory;
    EXPECT_EQ(QString::fromUtf8(runs.readAll()),
              QString(prefix + QStringLiteral(" branch --show-current\n") + prefix +
                      QStringLiteral(" branch --list x\n") + prefix + QStringLiteral(" status --porcelain\n")));
}

TEST_F(BranchCheckTest, givesNoOptionsInThePlaceOfABranch)
{
    const QString repository = makeRepository();
    gitIn(repository, "branch other");
    writeFile(repository + QStringLiteral("/file"), "changed\n");

    for (const QString &name : { QStringLiteral("-f"), QStringLiteral("--force"), QStringLiteral("-"),
                                 QStringLiteral("--detach"), QStringLiteral("-bnew"), QStringLiteral("-D") }) {
        EXPECT_EQ(m_git.checkBranch(repository, name),
                  (BranchCheckResult { BranchCheckResult::BranchDeleted { name, QStringLiteral("main") } }));
        EXPECT_EQ(m_git.switchBranch(repository, name), QStringLiteral("Failed to switch branch"));
    }

    EXPECT_EQ(gitIn(repository, "branch --list"), QStringLiteral("* main\n  other"));
    EXPECT_EQ(sampled(m_git, repository), Figures(1, 1));
}

TEST_F(BranchCheckTest, putsNoFilesBackInThePlaceOfSwitching)
{
    const QString repository = makeRepository();
    writeFile(repository + QStringLiteral("/file"), "changed\n");

    for (const QString &name :
         { QStringLiteral("file"), QStringLiteral("."), QStringLiteral("./file"), QStringLiteral("fi*"),
           QStringLiteral(":/"), QStringLiteral(":(top)file"), QStringLiteral("../repository/file"), QString() })
        EXPECT_EQ(m_git.switchBranch(repository, name), QStringLiteral("Failed to switch branch"))
            << name.toStdString();

    EXPECT_EQ(sampled(m_git, repository), Figures(1, 1));
}

TEST_F(BranchCheckTest, switchesTheBranch)
{
    const QString repository = makeRepository();
    gitIn(repository, "branch other/one");

    EXPECT_EQ(m_git.switchBranch(repository, QStringLiteral("other/one")), std::nullopt);

    EXPECT_EQ(gitIn(repository, "branch --show-current"), QStringLiteral("other/one"));
}

TEST_F(BranchCheckTest, givesGitsOwnTextWhenChangesStandInTheWayOfSwitching)
{
    const QString repository = makeRepository();
    gitIn(repository, "checkout -q -b other");
    writeFile(repository + QStringLiteral("/file"), "other\n");
    gitIn(repository, "commit -q -a -m second");
    gitIn(repository, "checkout -q main");
    writeFile(repository + QStringLiteral("/file"), "mine\n");

    const auto text = m_git.switchBranch(repository, QStringLiteral("other"));

    ASSERT_TRUE(text);
    EXPECT_TRUE(text->contains(QStringLiteral("file"))) << text->toStdString();
    EXPECT_EQ(gitIn(repository, "branch --show-current"), QStringLiteral("main"));
}

TEST_F(BranchCheckTest, givesGitsOwnTextForABranchThatDoesNotExist)
{
    const auto text = m_git.switchBranch(makeRepository(), QStringLiteral("gone"));

    ASSERT_TRUE(text);
    EXPECT_TRUE(text->contains(QStringLiteral("gone"))) << text->toStdString();
}

TEST_F(BranchCheckTest, hasATextForASwitchThatFailsWithoutAWord)
{
    const GitFacts silent = factsFromScript("exit 1\n");
    EXPECT_EQ(silent.switchBranch(m_folder.path(), QStringLiteral("x")), QStringLiteral("Failed to switch branch"));

    const GitFacts missing(m_mainQueue, m_workers, path(QStringLiteral("no-git")));
    EXPECT_EQ(missing.switchBranch(m_folder.path(), QStringLiteral("x")), QStringLiteral("Failed to switch branch"));
}

} // namespace vantry::test
