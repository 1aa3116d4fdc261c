#include "panels/PanelScreens.h"

using namespace Qt::StringLiterals;

namespace vantry::test {
namespace {

class SessionBrowserScreenTest : public PanelScreens
{
protected:
    SessionBrowserScreenTest()
    {
        world().addRemembered({ .project = u"storefront"_s, .branch = u"main"_s }, u"a"_s, u"Retry the checkout"_s);
        world().addRemembered({ .project = u"ledger"_s, .minutesAgo = 5 }, u"b"_s, u"Round amounts"_s);
    }

    /// Opens the browser as Ctrl+F does.
    void open()
    {
        press(Qt::Key_F, Qt::ControlModifier);
        ASSERT_EQ(panel().screen(), MenuBarViewModel::SessionBrowser);
    }
    void type(const QString &text)
    {
        view().type(text);
        world().settleAfter(Seconds(0.1));
        view().settle();
    }
};

TEST_F(SessionBrowserScreenTest, typingFiltersAndClearingShowsTheRecentOnesAgain)
{
    open();
    EXPECT_TRUE(control(u"storefront"_s));
    EXPECT_TRUE(control(u"ledger"_s));
    type(u"checkout"_s);
    EXPECT_TRUE(control(u"storefront"_s));
    EXPECT_FALSE(view().control(u"ledger"_s));
    view().click(u"Clear"_s);
    EXPECT_TRUE(control(u"ledger"_s));
    EXPECT_EQ(panel().browser()->searchText(), QString());
}

TEST_F(SessionBrowserScreenTest, nothingFoundSaysSo)
{
    open();
    type(u"kubernetes"_s);
    EXPECT_TRUE(control(u"No matching sessions"_s));
    EXPECT_TRUE(control(u"New Session"_s));
}

TEST_F(SessionBrowserScreenTest, arrowsChooseARowWhileTheFieldKeepsTheFocus)
{
    open();
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(panel().browser()->selectionIndex(), 1);
    EXPECT_EQ(focused(), u"Search sessions...");
    press(Qt::Key_Return);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::ResumeDialog);
}

TEST_F(SessionBrowserScreenTest, upWithNothingChosenChoosesTheLastRow)
{
    open();
    press(Qt::Key_Up);
    EXPECT_EQ(panel().browser()->selectionIndex(), 2);
}

TEST_F(SessionBrowserScreenTest, returnInTheFieldWithNothingChosenOpensThePicker)
{
    open();
    press(Qt::Key_Return);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::NewSessionPicker);
}

TEST_F(SessionBrowserScreenTest, openedByTheRowItDoesNotTakeTheFocusIntoTheField)
{
    view().click(u"New Session"_s);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::SessionBrowser);
    EXPECT_NE(focused(), u"Search sessions...");
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::NewSessionPicker);
}

TEST_F(SessionBrowserScreenTest, findKeyBringsTheFocusBackToTheField)
{
    view().click(u"New Session"_s);
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(focused(), u"Search sessions...");
}

TEST_F(SessionBrowserScreenTest, pressOnARowOpensIt)
{
    open();
    view().click(u"ledger"_s);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::ResumeDialog);
}

TEST_F(SessionBrowserScreenTest, backAndEscapeLeadToTheList)
{
    open();
    press(Qt::Key_Escape);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::SessionList);
    open();
    view().click(u"Back"_s);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::SessionList);
}

using NewSessionPickerScreenTest = PanelScreens;

TEST_F(NewSessionPickerScreenTest, byKeyboardAloneAProjectIsFoundAndOpened)
{
    world().addProject(u"storefront"_s, 0);
    world().addProject(u"ledger"_s, 3);
    press(Qt::Key_F, Qt::ControlModifier);
    press(Qt::Key_Return);
    ASSERT_EQ(panel().screen(), MenuBarViewModel::NewSessionPicker);
    EXPECT_TRUE(control(u"storefront"_s));
    EXPECT_EQ(focused(), u"Search projects...");
    view().type(u"led"_s);
    EXPECT_EQ(panel().picker()->searchText(), u"led");
    EXPECT_FALSE(view().control(u"storefront"_s));
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    ASSERT_EQ(panel().screen(), MenuBarViewModel::ProjectDetail);
    EXPECT_EQ(panel().projectDetail()->name(), u"ledger");
    press(Qt::Key_Escape);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::NewSessionPicker);
}

TEST_F(NewSessionPickerScreenTest, withoutProjectsItSaysHowToGetOne)
{
    panel().openSessionBrowser(false);
    panel().browser()->open(0);
    EXPECT_TRUE(control(u"No recent projects. Open a project with Claude Code first"_s));
}

TEST_F(NewSessionPickerScreenTest, nothingFoundSaysSo)
{
    world().addProject(u"storefront"_s, 0);
    panel().openSessionBrowser(false);
    panel().browser()->open(0);
    view().type(u"gradle"_s);
    EXPECT_TRUE(control(u"No matching projects"_s));
    view().click(u"Clear"_s);
    EXPECT_TRUE(control(u"storefront"_s));
}

} // namespace
} // namespace vantry::test
