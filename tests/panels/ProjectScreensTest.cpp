#include "panels/PanelScreens.h"
#include "sessions/GitRepositories.h"

#include <QDir>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry::test {
namespace {

class ResumeDialogScreenTest : public PanelScreens
{
protected:
    /// The dialog of a session on "feature", whose check is not yet back.
    void open()
    {
        world().addRemembered({ .project = u"storefront"_s, .branch = u"feature"_s }, u"a"_s, u"Retry"_s);
        panel().setVisible(true);
        panel().openSessionBrowser(false);
        world().settle();
        panel().browser()->open(1);
        ASSERT_EQ(panel().screen(), MenuBarViewModel::ResumeDialog);
    }
    QString makeRepository()
    {
        const QString path = world().projectPath(u"storefront"_s);
        QDir().mkpath(path);
        makeRepositoryIn(path);
        gitIn(path, "branch feature");
        return path;
    }
};

TEST_F(ResumeDialogScreenTest, mismatchOffersTheSwitchAndShowsThatItWorked)
{
    makeRepository();
    open();
    EXPECT_TRUE(control(u"Branch mismatch"_s));
    EXPECT_TRUE(control(u"Session was on feature, currently on main"_s));
    view().click(u"Switch to feature"_s);
    view().settle();
    EXPECT_FALSE(view().control(u"Branch mismatch"_s));
    EXPECT_TRUE(control(u"On branch feature"_s));
}

TEST_F(ResumeDialogScreenTest, deletedBranchStillOffersToResume)
{
    gitIn(makeRepository(), "branch -D feature");
    open();
    EXPECT_TRUE(control(u"Branch deleted"_s));
    view().click(u"Resume This Session"_s);
    EXPECT_THAT(world().acts, ElementsAre(u"launch storefront"_s));
}

TEST_F(ResumeDialogScreenTest, withoutGitThereIsNoBlock)
{
    open();
    EXPECT_FALSE(view().control(u"Branch mismatch"_s));
    EXPECT_FALSE(view().control(u"Checking branch..."_s));
    EXPECT_EQ(roleOf(u"New Session"_s), QAccessible::Button);
}

TEST_F(ResumeDialogScreenTest, returnResumes)
{
    open();
    press(Qt::Key_Return);
    EXPECT_THAT(world().acts, ElementsAre(u"launch storefront"_s));
}

class ProjectDetailScreenTest : public PanelScreens
{
protected:
    void open(const QStringList &prompts = { u"Retry the payment call"_s })
    {
        world().addProject(u"storefront"_s, 0, prompts);
        panel().openSessionBrowser(false);
        panel().browser()->open(0);
        world().settle();
        panel().picker()->open(0);
        ASSERT_EQ(panel().screen(), MenuBarViewModel::ProjectDetail);
    }
};

TEST_F(ProjectDetailScreenTest, onlyTheFirstAgentCanBeChosen)
{
    open();
    EXPECT_EQ(roleOf(u"Claude Code"_s), QAccessible::RadioButton);
    view().click(u"Codex, soon"_s);
    EXPECT_EQ(panel().projectDetail()->selectedTool(), AgentTool::claudeCode);
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(control(u"Claude Code"_s))->state().checked);
}

TEST_F(ProjectDetailScreenTest, modeIsChosenByKeyboardAndSurvivesClosing)
{
    open();
    view().focus(u"Mode, Ask permissions"_s);
    press(Qt::Key_Return);
    EXPECT_TRUE(panel().projectDetail()->modesExpanded());
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    press(Qt::Key_Tab);
    press(Qt::Key_Return);
    EXPECT_FALSE(panel().projectDetail()->modesExpanded());
    EXPECT_EQ(focused(), u"Mode, Plan mode");
    press(Qt::Key_Return);
    press(Qt::Key_Escape);
    EXPECT_FALSE(panel().projectDetail()->modesExpanded());
    EXPECT_EQ(focused(), u"Mode, Plan mode");
    EXPECT_EQ(panel().screen(), MenuBarViewModel::ProjectDetail);
}

TEST_F(ProjectDetailScreenTest, latestSessionIsResumedByAPress)
{
    open();
    EXPECT_EQ(roleOf(u"Recent Sessions"_s), QAccessible::Heading);
    view().click(u"Retry the payment call"_s);
    EXPECT_THAT(world().acts, ElementsAre(u"launch storefront"_s));
}

TEST_F(ProjectDetailScreenTest, controlWithTheFocusIsScrolledIntoView)
{
    open(QStringList(5, u"Retry the payment call"_s));
    panel().projectDetail()->setModesExpanded(true);
    view().settle();
    for (int i = 0; i < 14; ++i) {
        press(Qt::Key_Tab);
        const auto *item = view().window().activeFocusItem();
        EXPECT_TRUE(view()
                        .window()
                        .contentItem()
                        ->boundingRect()
                        .adjusted(0, 0, 0, -24)
                        .contains(item->mapRectToScene(item->boundingRect())))
            << i << ' ' << qPrintable(focused());
    }
}

} // namespace
} // namespace vantry::test
