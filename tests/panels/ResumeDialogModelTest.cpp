#include "panels/ResumeDialogModel.h"

#include "panels/PanelFixture.h"

#include <QFile>

#include <future>

namespace vantry::test {
namespace {

using Dialog = ResumeDialogModel;
using ::testing::IsEmpty;

/// git is a script, so that its answers can be made up: it prints the file that is named after its third word, and
/// fails when there is none.
class ResumeDialogModelTest : public PanelFixture
{
protected:
    ResumeDialogModelTest()
    {
        QFile script(home.filePath(u"git"_s));
        EXPECT_TRUE(script.open(QFile::WriteOnly));
        script.write("#!/bin/sh\ncd \"${0%/*}\"\n"
                     "while [ \"$1\" != branch -a \"$1\" != status -a \"$1\" != checkout ]; do shift; done\n"
                     "name=$1\n[ \"$2\" = --list ] && name=list\n"
                     "[ $name = checkout ] && echo x >> checkouts\n"
                     "cat $name 2>/dev/null || { echo 'error: no way' >&2; exit 1; }\n");
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        answer(u"branch"_s, "main\n");
        answer(u"list"_s, "  feat\n");
        answer(u"status"_s, "");
    }
    void answer(const QString &name, const QByteArray &text)
    {
        QFile file(home.filePath(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(text);
    }
    [[nodiscard]] PanelServices scripted()
    {
        const PanelServices all = services();
        return { all.sessionManager, all.sessionChanges, all.store,    scriptedGit, workers, all.mainQueue,
                 all.clock,          all.scheduler,      all.defaults, all.log,     all.home };
    }
    Dialog &open(const QString &branch = u"feat"_s, const std::optional<QString> &cwd = u"/tmp"_s)
    {
        RememberedSession session;
        session.id = u"0123456789"_s;
        session.cwd = cwd;
        session.gitBranch = branch;
        dialog = std::make_unique<Dialog>(scripted(), session, [this](const TerminalBridge::LaunchMode &mode) {
            launches.append(std::holds_alternative<TerminalBridge::Fresh>(mode) ? u"fresh"_s : u"resume"_s);
        });
        return *dialog;
    }
    Dialog &checked(const QString &branch = u"feat"_s)
    {
        open(branch);
        settle();
        return *dialog;
    }

    GitFacts scriptedGit { mainQueue, gitWorkers, home.filePath(u"git"_s) };
    WorkerPool workers; ///< Ends before the git that its tasks use.
    std::unique_ptr<Dialog> dialog;
    QStringList launches;

    void settle()
    {
        do
            workers.waitForDone();
        while (mainQueue.drainAll() > 0);
    }
};

TEST_F(ResumeDialogModelTest, checkStartsAtOnceAndTheActionsAreThereMeanwhile)
{
    open();
    EXPECT_EQ(dialog->branchState(), Dialog::Checking);
    EXPECT_EQ(dialog->branchPlainText(), u"Checking branch..."_s);
    dialog->resume();
    dialog->startFresh();
    EXPECT_EQ(launches, (QStringList { u"resume"_s, u"fresh"_s }));
}

TEST_F(ResumeDialogModelTest, sameBranchIsTold)
{
    checked(u"main"_s);
    EXPECT_EQ(dialog->branchState(), Dialog::SameBranch);
    EXPECT_EQ(dialog->branchText(), u"On branch <b>main</b>"_s);
    EXPECT_EQ(dialog->branchTitle(), QString());
}

TEST_F(ResumeDialogModelTest, otherBranchOfACleanTreeCanBeSwitched)
{
    checked();
    EXPECT_EQ(dialog->branchState(), Dialog::DifferentBranch);
    EXPECT_EQ(dialog->branchTitle(), u"Branch mismatch"_s);
    EXPECT_EQ(dialog->branchText(), u"Session was on <b>feat</b>, currently on <b>main</b>"_s);
    EXPECT_EQ(dialog->branchPlainText(), u"Session was on feat, currently on main"_s);
    EXPECT_EQ(dialog->currentBranch(), u"main"_s);
    EXPECT_EQ(dialog->sessionBranch(), u"feat"_s);
    EXPECT_TRUE(dialog->canSwitch());
}

TEST_F(ResumeDialogModelTest, otherBranchOfAChangedTreeCantBeSwitched)
{
    answer(u"status"_s, " M file\n");
    checked();
    EXPECT_EQ(dialog->branchState(), Dialog::DifferentBranch);
    EXPECT_FALSE(dialog->canSwitch());
    dialog->switchBranch();
    EXPECT_FALSE(dialog->isSwitchingBranch());
}

TEST_F(ResumeDialogModelTest, deletedBranchIsToldAndTheSessionCanBeResumedAllTheSame)
{
    answer(u"list"_s, "");
    checked();
    EXPECT_EQ(dialog->branchState(), Dialog::BranchDeleted);
    EXPECT_EQ(dialog->branchTitle(), u"Branch deleted"_s);
    EXPECT_EQ(dialog->branchText(),
              u"Branch <b>feat</b> no longer exists (possibly merged). Currently on <b>main</b>"_s);
    dialog->resume();
    EXPECT_EQ(launches, QStringList { u"resume"_s });
}

TEST_F(ResumeDialogModelTest, errorOfGitIsNoBranch)
{
    answer(u"branch"_s, "fatal: not a git repository\n");
    checked();
    EXPECT_EQ(dialog->branchState(), Dialog::NoBlock);
    answer(u"branch"_s, "fatal: detected dubious ownership\nTo add an exception\n");
    answer(u"list"_s, "");
    checked();
    EXPECT_EQ(dialog->branchState(), Dialog::NoBlock);
    answer(u"branch"_s, "error: one\nand two\n");
    answer(u"list"_s, "  feat\n");
    checked();
    EXPECT_EQ(dialog->branchState(), Dialog::NoBlock);
    EXPECT_EQ(dialog->branchText(), QString());
}

TEST_F(ResumeDialogModelTest, whereNothingIsCheckedOutByNameThatIsTold)
{
    answer(u"branch"_s, "");
    checked();
    EXPECT_EQ(dialog->branchState(), Dialog::DifferentBranch);
    EXPECT_EQ(dialog->branchText(), u"Session was on <b>feat</b>, currently on no branch"_s);
}

TEST_F(ResumeDialogModelTest, namesOfBranchesAreNoMarkup)
{
    checked(u"<img>%1"_s);
    EXPECT_TRUE(dialog->branchText().startsWith(u"Session was on <b>&lt;img&gt;%1</b>, "_s))
        << dialog->branchText().toStdString();
}

TEST_F(ResumeDialogModelTest, withoutDirectoryOrBranchNothingIsChecked)
{
    open(QString());
    EXPECT_EQ(dialog->branchState(), Dialog::NoBlock);
    open(u"feat"_s, std::nullopt);
    EXPECT_EQ(dialog->branchState(), Dialog::NoBlock);
    EXPECT_FALSE(dialog->canStartFresh());
    dialog->startFresh();
    EXPECT_THAT(launches, IsEmpty());
    dialog->resume();
    EXPECT_EQ(launches, QStringList { u"resume"_s });
}

TEST_F(ResumeDialogModelTest, switchingChecksAgain)
{
    checked();
    answer(u"checkout"_s, "");
    dialog->switchBranch();
    EXPECT_TRUE(dialog->isSwitchingBranch());
    dialog->switchBranch();
    answer(u"branch"_s, "feat\n");
    settle();
    EXPECT_FALSE(dialog->isSwitchingBranch());
    EXPECT_EQ(dialog->branchState(), Dialog::SameBranch);
    EXPECT_EQ(dialog->switchError(), QString());
    EXPECT_EQ(QFile(home.filePath(u"checkouts"_s)).size(), 2) << "once";
}

TEST_F(ResumeDialogModelTest, failedSwitchTellsWhatGitSays)
{
    checked();
    dialog->switchBranch();
    settle();
    EXPECT_FALSE(dialog->isSwitchingBranch());
    EXPECT_EQ(dialog->switchError(), u"error: no way"_s);
    EXPECT_EQ(dialog->branchState(), Dialog::DifferentBranch);

    dialog->switchBranch();
    EXPECT_EQ(dialog->switchError(), QString()) << "gone with the next try";
    settle();
}

TEST_F(ResumeDialogModelTest, answerMayComeWhenTheDialogHasGone)
{
    open();
    dialog.reset();
    settle();
    checked();
    dialog->switchBranch();
    dialog.reset();
    settle();
}

TEST_F(ResumeDialogModelTest, headTellsTheSession)
{
    open(u"feat"_s, home.path() + u"/shop"_s);
    EXPECT_EQ(dialog->title(), u"01234567"_s);
    EXPECT_EQ(dialog->path(), home.path() + u"/shop"_s);
    EXPECT_EQ(dialog->displayPath(), u"~/shop"_s);
    EXPECT_EQ(dialog->toolSymbol(), u"terminal"_s);
    open(u"feat"_s, home.path() + u"by"_s);
    EXPECT_EQ(dialog->displayPath(), home.path() + u"by"_s);
    settle();
}

} // namespace
} // namespace vantry::test
