#include "panels/MenuBarViewModel.h"

#include "panels/PanelFixture.h"
#include "telegram/TelegramService.h"

#include <QPointer>

namespace vantry::test {
namespace {

using Model = MenuBarViewModel;
using ::testing::IsEmpty;

class MenuBarViewModelTest : public PanelFixture
{
protected:
    MenuBarViewModelTest() { panel.setVisible(true); }

    /// The browser, with the remembered sessions in it.
    void openBrowser()
    {
        panel.openSessionBrowser(true);
        settle();
    }
    void openProject(const QString &path = u"/home/u/app"_s, const QList<RecentSession> &sessions = {})
    {
        openBrowser();
        panel.browser()->open(0);
        settle();
        panel.picker()->onOpenProject({ u"id"_s, path, path.section(u'/', -1), clock.now(), sessions });
    }
    /// A fresh agent is started in the project; the chat shows its placeholder.
    void launch(const QString &path = u"/home/u/app"_s)
    {
        openProject(path);
        panel.projectDetail()->newSession();
    }
    [[nodiscard]] QString chatID() const { return panel.chat() ? panel.chat()->session()->id() : QString(); }
    [[nodiscard]] bool showsPlaceholder() const { return chatID().startsWith(u"pending-"); }

    MenuBarViewModel panel { services(), callbacks() };
};

TEST_F(MenuBarViewModelTest, listIsTheRoot)
{
    EXPECT_EQ(panel.screen(), Model::SessionList);
    int closes = 0;
    QObject::connect(&panel, &Model::closeRequested, &panel, [&] { ++closes; });
    panel.back();
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(panel.screen(), Model::SessionList);
}

TEST_F(MenuBarViewModelTest, aliveSessionsAreCounted)
{
    EXPECT_EQ(panel.activeText(), u"0 active"_s);
    int told = 0;
    QObject::connect(&panel, &Model::activeCountChanged, &panel, [&] { ++told; });
    start(u"a"_s);
    start(u"b"_s);
    EXPECT_EQ(panel.activeCount(), 2);
    EXPECT_EQ(panel.activeText(), u"2 active"_s);
    EXPECT_EQ(told, 2);
}

TEST_F(MenuBarViewModelTest, sizeIsThePanelsOwnUnlessItIsReplaced)
{
    EXPECT_EQ(panel.panelWidth(), 380);
    EXPECT_EQ(panel.panelHeight(), 440);
    panel.setOverrideWidth(390);
    panel.setOverrideHeight(500);
    EXPECT_EQ(panel.panelWidth(), 390);
    EXPECT_EQ(panel.panelHeight(), 500);
    panel.setOverrideWidth(0);
    panel.setOverrideHeight(-3);
    EXPECT_EQ(panel.panelWidth(), 380);
    EXPECT_EQ(panel.panelHeight(), 440);
}

TEST_F(MenuBarViewModelTest, switchesWriteTheirSettings)
{
    EXPECT_TRUE(panel.notificationsOn());
    EXPECT_TRUE(panel.soundsOn());
    panel.setNotificationsOn(false);
    EXPECT_FALSE(panel.notificationsOn());
    EXPECT_FALSE(defaults.boolean(u"notifications_enabled"_s, true));
    defaults.setBoolean(u"sounds_enabled"_s, false);
    EXPECT_FALSE(panel.soundsOn()) << "also when they are changed elsewhere";
    panel.setSoundsOn(true);
    EXPECT_TRUE(defaults.boolean(u"sounds_enabled"_s, false));
}

TEST_F(MenuBarViewModelTest, telegramIsPausedOnceItIsConfigured)
{
    TelegramService telegram({ scheduler, mainQueue, defaults, log }, u"nowhere"_s);
    PanelServices given = services();
    given.telegramService = &telegram;
    MenuBarViewModel model(given, callbacks());
    int told = 0;
    QObject::connect(&model, &Model::telegramChanged, &model, [&] { ++told; });

    EXPECT_FALSE(model.telegramConfigured());
    telegram.setBotToken(u"1:a"_s);
    EXPECT_FALSE(model.telegramConfigured());
    telegram.setChatID(u"7"_s);
    EXPECT_TRUE(model.telegramConfigured());
    EXPECT_TRUE(model.telegramOn());
    model.setTelegramOn(false);
    EXPECT_FALSE(model.telegramOn());
    EXPECT_TRUE(telegram.isPaused());
    EXPECT_FALSE(telegram.isPolling());
    telegram.setPaused(false);
    EXPECT_TRUE(model.telegramOn()) << "also when it is changed elsewhere";
    telegram.setSessionTopics({ { u"s"_s, 1 } });
    EXPECT_EQ(told, 3) << "what the panel doesn't show is not told";
}

TEST_F(MenuBarViewModelTest, withoutTelegramThereIsNothingToPause)
{
    panel.setTelegramOn(false);
    EXPECT_FALSE(panel.telegramConfigured());
}

TEST_F(MenuBarViewModelTest, settingsAndQuitAreTheApplications)
{
    panel.openSettings();
    panel.quit();
    EXPECT_EQ(calls, (QStringList { u"settings"_s, u"quit"_s }));
}

TEST_F(MenuBarViewModelTest, browserOpensWithOrWithoutTheFocusInItsField)
{
    panel.openSessionBrowser(true);
    EXPECT_EQ(panel.screen(), Model::SessionBrowser);
    EXPECT_TRUE(panel.browser()->focusSearchOnAppear());
    EXPECT_FALSE(panel.goingBack());
    panel.browser()->setSearchText(u"x"_s);
    panel.back();
    EXPECT_EQ(panel.screen(), Model::SessionList);
    EXPECT_TRUE(panel.goingBack());
    EXPECT_EQ(panel.browser()->searchText(), QString());
    panel.openSessionBrowser(false);
    EXPECT_FALSE(panel.browser()->focusSearchOnAppear());
}

TEST_F(MenuBarViewModelTest, recentSessionsAreThereByTheTimeTheBrowserOpens)
{
    remember(u"a"_s, u"x"_s);
    panel.setVisible(false);
    panel.setVisible(true);
    settle();
    panel.openSessionBrowser(false);
    EXPECT_EQ(panel.browser()->count(), 1);
}

TEST_F(MenuBarViewModelTest, newSessionInTheBrowserOpensThePicker)
{
    openBrowser();
    panel.browser()->setSearchText(u"x"_s);
    panel.browser()->submit();
    EXPECT_EQ(panel.screen(), Model::NewSessionPicker);
    EXPECT_EQ(panel.browser()->searchText(), QString());
    panel.back();
    EXPECT_EQ(panel.screen(), Model::SessionList) << "the browser is closed";
}

TEST_F(MenuBarViewModelTest, projectOpensOverThePickerAndGoesBackToIt)
{
    openProject();
    EXPECT_EQ(panel.screen(), Model::ProjectDetail);
    ASSERT_TRUE(panel.projectDetail());
    EXPECT_EQ(panel.projectDetail()->name(), u"app"_s);
    panel.back();
    EXPECT_EQ(panel.screen(), Model::NewSessionPicker);
    EXPECT_FALSE(panel.projectDetail());
}

TEST_F(MenuBarViewModelTest, rowOpensTheChatOfItsSession)
{
    start(u"a"_s);
    panel.openChat(u"a"_s);
    EXPECT_EQ(panel.screen(), Model::Chat);
    EXPECT_EQ(chatID(), u"a"_s);
    EXPECT_TRUE(panel.chat()->isVisible());
    panel.back();
    EXPECT_EQ(panel.screen(), Model::SessionList);
    EXPECT_FALSE(panel.chat());
    panel.openChat(u"nobody"_s);
    EXPECT_EQ(panel.screen(), Model::SessionList);
}

TEST_F(MenuBarViewModelTest, chatThatAsksToBeClosedGoesBack)
{
    start(u"a"_s);
    panel.openChat(u"a"_s);
    panel.chat()->close();
    EXPECT_EQ(panel.screen(), Model::SessionList);
}

TEST_F(MenuBarViewModelTest, resultThatIsStillAliveOpensItsChatAndNoDialog)
{
    start(u"a"_s, u"/home/u/app"_s);
    openBrowser();
    ASSERT_EQ(panel.browser()->count(), 1);
    panel.browser()->open(1);
    EXPECT_EQ(panel.screen(), Model::Chat);
    EXPECT_EQ(chatID(), u"a"_s);
    EXPECT_FALSE(panel.resumeDialog());
    panel.back();
    EXPECT_EQ(panel.screen(), Model::SessionList) << "the browser is closed";
}

TEST_F(MenuBarViewModelTest, resultThatHasEndedOpensTheDialogOverTheBrowser)
{
    remember(u"old"_s, u"x"_s);
    openBrowser();
    panel.browser()->open(1);
    EXPECT_EQ(panel.screen(), Model::ResumeDialog);
    ASSERT_TRUE(panel.resumeDialog());
    EXPECT_EQ(panel.resumeDialog()->title(), u"old"_s);
    panel.back();
    EXPECT_EQ(panel.screen(), Model::SessionBrowser);
    EXPECT_FALSE(panel.resumeDialog());
}

TEST_F(MenuBarViewModelTest, leftScreensModelStaysForAWhileAndChangesComeInOrder)
{
    openProject();
    QPointer<ProjectDetailModel> left = panel.projectDetail();
    QStringList order;
    QObject::connect(&panel, &Model::screenChanged, &panel,
                     [&] { order.append(panel.screen() == Model::ProjectDetail ? u"in"_s : u"out"_s); });
    QObject::connect(&panel, &Model::projectDetailChanged, &panel,
                     [&] { order.append(panel.projectDetail() ? u"model"_s : u"null"_s); });
    panel.back();
    EXPECT_TRUE(left);
    panel.picker()->onOpenProject({ u"id"_s, u"/p"_s, u"p"_s, clock.now(), {} });
    EXPECT_EQ(order, (QStringList { u"out"_s, u"null"_s, u"model"_s, u"in"_s }));
    for (int i = 0; i < 5; ++i) {
        panel.back();
        panel.picker()->onOpenProject({ u"id"_s, u"/p"_s, u"p"_s, clock.now(), {} });
    }
    EXPECT_FALSE(left) << "not for ever";
}

TEST_F(MenuBarViewModelTest, launchShowsAPlaceholderThatIsStoredNowhere)
{
    launch();
    EXPECT_EQ(panel.screen(), Model::Chat);
    EXPECT_TRUE(showsPlaceholder());
    const SessionPtr placeholder = panel.chat()->session();
    EXPECT_EQ(placeholder->state(), SessionState::launching);
    EXPECT_EQ(placeholder->displayName(), u"app"_s) << "never its identifier";
    EXPECT_EQ(placeholder->cwd(), u"/home/u/app"_s);
    EXPECT_EQ(placeholder->lastUpdated(), clock.now());
    EXPECT_EQ(placeholder->startedAt(), clock.now());
    EXPECT_EQ(calls, QStringList { u"launch /home/u/app fresh askPermissions"_s });
    EXPECT_FALSE(panel.projectDetail());

    wait(5);
    EXPECT_EQ(panel.sessionList()->count(), 0) << "nor is it in the list";
    EXPECT_THAT(store.queue().sync([this] { return store.recentSessions(20); }), IsEmpty());
}

TEST_F(MenuBarViewModelTest, placeholderGivesWayToTheSessionThatReports)
{
    start(u"known"_s, u"/home/u/app"_s);
    launch();
    start(u"elsewhere"_s, u"/home/u/other"_s);
    wait(0.5);
    EXPECT_TRUE(showsPlaceholder()) << "one was there before, the other is in another directory";
    panel.chat()->setTypedText(u"hello"_s);
    start(u"new"_s, u"/home/u/app/"_s);
    wait(0.5);
    EXPECT_EQ(chatID(), u"new"_s);
    EXPECT_EQ(panel.chat()->typedText(), u"hello"_s);
    wait(60);
    EXPECT_EQ(chatID(), u"new"_s);
}

TEST_F(MenuBarViewModelTest, launchThatNeverReportsReturnsToTheListAfterHalfAMinute)
{
    launch();
    wait(29.5);
    EXPECT_TRUE(showsPlaceholder());
    wait(0.5);
    EXPECT_EQ(panel.screen(), Model::SessionList);
    EXPECT_TRUE(panel.goingBack());
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(MenuBarViewModelTest, sessionThatReportsAfterThePlaceholderWasLeftOpensNothing)
{
    launch();
    panel.back();
    EXPECT_EQ(scheduler.activeTimers(), 0U) << "nobody looks for it";
    start(u"new"_s, u"/home/u/app"_s);
    wait(40);
    EXPECT_EQ(panel.screen(), Model::SessionList);
    EXPECT_FALSE(panel.chat());
}

TEST_F(MenuBarViewModelTest, otherChatThatWasOpenedMeanwhileIsNotReplaced)
{
    start(u"a"_s, u"/home/u/a"_s);
    launch();
    panel.back();
    panel.openChat(u"a"_s);
    start(u"new"_s, u"/home/u/app"_s);
    wait(40);
    EXPECT_EQ(chatID(), u"a"_s);
}

TEST_F(MenuBarViewModelTest, noTimerRunsWhileInvisibleAndTheLaunchIsFoundWhenThePanelShows)
{
    launch();
    panel.setVisible(false);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    start(u"new"_s, u"/home/u/app"_s);
    wait(300);
    EXPECT_TRUE(showsPlaceholder());
    panel.setVisible(true);
    EXPECT_EQ(chatID(), u"new"_s);
}

TEST_F(MenuBarViewModelTest, launchThatFailedUnseenIsGoneWhenThePanelShows)
{
    launch();
    panel.setVisible(false);
    wait(31);
    panel.setVisible(true);
    EXPECT_EQ(panel.screen(), Model::SessionList);
}

TEST_F(MenuBarViewModelTest, resumedSessionIsKnownByItsIdentifier)
{
    remember(u"old"_s, u"x"_s, u"/home/u/old"_s);
    openBrowser();
    panel.browser()->open(1);
    panel.resumeDialog()->resume();
    EXPECT_EQ(calls, QStringList { u"launch /home/u/old resume old askPermissions"_s });
    EXPECT_EQ(panel.screen(), Model::Chat);
    EXPECT_FALSE(panel.resumeDialog());

    start(u"other"_s, u"/home/u/old"_s);
    wait(0.5);
    EXPECT_TRUE(showsPlaceholder());
    start(u"old"_s, u"/home/u/old"_s);
    wait(0.5);
    EXPECT_EQ(chatID(), u"old"_s);
}

TEST_F(MenuBarViewModelTest, dialogStartsAfreshInTheSessionsDirectory)
{
    remember(u"old"_s, u"x"_s, u"/home/u/old"_s);
    openBrowser();
    panel.browser()->open(1);
    panel.resumeDialog()->startFresh();
    EXPECT_EQ(calls, QStringList { u"launch /home/u/old fresh askPermissions"_s });
    panel.back();
    EXPECT_EQ(panel.screen(), Model::SessionList);
}

TEST_F(MenuBarViewModelTest, sessionOfAProjectThatStillRunsIsShownAndNotStartedAgain)
{
    start(u"a"_s, u"/home/u/app"_s);
    openProject();
    panel.projectDetail()->resumeSession(u"a"_s);
    EXPECT_EQ(chatID(), u"a"_s);
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(MenuBarViewModelTest, projectsLaunchesCarryItsMode)
{
    openProject();
    panel.projectDetail()->selectMode(2);
    panel.projectDetail()->continueLatest();
    EXPECT_EQ(calls, QStringList { u"launch /home/u/app continue planMode"_s });
}

TEST_F(MenuBarViewModelTest, secondLaunchTakesThePlaceOfTheFirst)
{
    launch();
    const QString first = chatID();
    panel.back();
    launch();
    EXPECT_TRUE(showsPlaceholder());
    EXPECT_NE(chatID(), first);
    start(u"new"_s, u"/home/u/app"_s);
    wait(0.5);
    EXPECT_EQ(chatID(), u"new"_s);
}

TEST_F(MenuBarViewModelTest, timesGoOnOnTheScreenThatIsShownAlone)
{
    remember(u"old"_s, u"x"_s);
    openBrowser();
    EXPECT_EQ(scheduler.activeTimers(), 1U);
    panel.browser()->open(1);
    settle();
    EXPECT_EQ(panel.screen(), Model::ResumeDialog);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    panel.back();
    EXPECT_EQ(scheduler.activeTimers(), 1U);
    panel.back();
    EXPECT_EQ(scheduler.activeTimers(), 0U);
}

TEST_F(MenuBarViewModelTest, nothingRunsOnWhenThePanelGoes)
{
    remember(u"old"_s, u"x"_s);
    {
        MenuBarViewModel other { services(), callbacks() };
        other.setVisible(true);
        other.openSessionBrowser(true);
        other.browser()->setSearchText(u"x"_s);
        other.browser()->open(0);
        other.picker()->onOpenProject({ u"id"_s, u"/p"_s, u"p"_s, clock.now(), {} });
        other.projectDetail()->newSession();
    }
    panel.setVisible(false);
    EXPECT_EQ(scheduler.activeTimers(), 0U);
    settle();
}

} // namespace
} // namespace vantry::test
