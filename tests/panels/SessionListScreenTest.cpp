#include "panels/PanelScreens.h"

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace vantry::test {
namespace {

using SessionListScreenTest = PanelScreens;

/// What screen readers are told to say: the name of the notification that is there; empty when there is none.
QString announcement(QAccessibleInterface *root)
{
    auto *item = qobject_cast<QQuickItem *>(root->object());
    if (root->role() == QAccessible::Notification && item && item->isVisible())
        return root->text(QAccessible::Name);
    QString found;
    for (int i = 0; i < root->childCount() && found.isEmpty(); ++i)
        found = announcement(root->child(i));
    return found;
}

TEST_F(SessionListScreenTest, rowsAreListItemsUnderHeadings)
{
    world().add(asking(u"storefront"_s));
    world().add({ .project = u"atlas"_s, .branch = u"main"_s });
    EXPECT_EQ(roleOf(u"Needs Attention"_s), QAccessible::Heading);
    EXPECT_EQ(roleOf(u"Ready"_s), QAccessible::Heading);
    EXPECT_EQ(roleOf(u"storefront, Needs permission, Bash, make, main"_s), QAccessible::ListItem);
    EXPECT_EQ(roleOf(u"atlas, Ready, main"_s), QAccessible::ListItem);
    EXPECT_EQ(roleOf(u"Sessions"_s), QAccessible::List);
    EXPECT_EQ(roleOf(u"Allow"_s), QAccessible::Button);
    for (const QString &name : { u"Search sessions..."_s, u"Settings"_s, u"Quit Vantry"_s })
        EXPECT_EQ(roleOf(name), QAccessible::Button);
}

TEST_F(SessionListScreenTest, headingsKeepTheirNamesWhenSessionsMoveBetweenSections)
{
    const auto first = world().add({ .project = u"atlas"_s, .state = SessionState::working });
    const auto second = world().add({ .project = u"ledger"_s, .state = SessionState::working });
    view().settle();
    first->setState(SessionState::ready);
    view().settle();
    second->setState(SessionState::hasQuestion);
    world().add({ .project = u"photon"_s, .state = SessionState::working });
    view().settle();

    for (const QString &title : { u"Needs Attention"_s, u"Ready"_s, u"Working"_s })
        EXPECT_EQ(roleOf(title), QAccessible::Heading) << title.toStdString();
}

TEST_F(SessionListScreenTest, sessionsThatBeginToWaitAreAnnouncedOnce)
{
    const auto first = world().add({ .project = u"storefront"_s, .state = SessionState::working });
    const auto second = world().add({ .project = u"ledger"_s, .state = SessionState::working });
    view().settle();
    auto *window = QAccessible::queryAccessibleInterface(&view().window());
    EXPECT_EQ(announcement(window), QString());

    first->setState(SessionState::needsPermission);
    view().settle();
    const QString firstText = u"storefront, "_s + first->statusText();
    EXPECT_EQ(announcement(window), firstText);

    second->setState(SessionState::hasQuestion);
    view().settle();
    const QString secondText = u"ledger, "_s + second->statusText();
    EXPECT_EQ(announcement(window), secondText) << "the first one isn't said again";

    first->setState(SessionState::working);
    second->setState(SessionState::working);
    view().settle();
    first->setState(SessionState::needsPermission);
    second->setState(SessionState::hasQuestion);
    view().settle();
    EXPECT_TRUE(announcement(window).contains(firstText));
    EXPECT_TRUE(announcement(window).contains(secondText)) << "together";
}

TEST_F(SessionListScreenTest, rowsAndHeadersComeFromWhereTheyWere)
{
    moves = true;
    world().add({ .project = u"photon"_s });
    world().add({ .project = u"atlas"_s, .state = SessionState::working });
    const auto ledger = world().add({ .project = u"ledger"_s, .state = SessionState::working });
    view().settle();
    const QStringList names { u"Ready"_s, u"photon"_s, u"Working"_s, u"atlas"_s, u"ledger"_s };
    QList<QRectF> before;
    for (const QString &name : names)
        before.append(placeOf(name));

    ledger->setToolName(u"Bash"_s);
    ledger->setState(SessionState::needsPermission);
    world().settle();
    QMetaObject::invokeMethod(control(u"Sessions"_s), "forceLayout");
    for (int i = 0; i < names.size(); ++i)
        EXPECT_EQ(placeOf(names.at(i)), before.at(i)) << names.at(i).toStdString();

    view().settle();
    EXPECT_LT(placeOf(u"ledger"_s).y(), placeOf(u"Ready"_s).y());
    EXPECT_GT(placeOf(u"ledger"_s).height(), before.at(4).height());
    EXPECT_EQ(placeOf(u"Ready"_s).y(), placeOf(u"ledger"_s).bottom() + 4);
    EXPECT_EQ(placeOf(u"atlas"_s).y() - placeOf(u"Working"_s).y(), before.at(3).y() - before.at(2).y());
}

TEST_F(SessionListScreenTest, emptyListSaysHowToBegin)
{
    EXPECT_TRUE(control(u"Start a coding agent to see it here"_s));
    EXPECT_TRUE(control(u"New Session"_s));
    world().add({ .project = u"atlas"_s });
    view().settle();
    EXPECT_FALSE(view().control(u"Start a coding agent to see it here"_s));
}

TEST_F(SessionListScreenTest, secondPressOfAllowSendsNothing)
{
    world().add(asking(u"storefront"_s));
    const QRectF before = placeOf(u"Allow"_s);
    view().click(u"Allow"_s);
    view().click(u"Allow"_s);
    view().click(u"Deny"_s);
    EXPECT_THAT(world().acts, ElementsAre(u"allow storefront"_s));
    EXPECT_EQ(placeOf(u"Allow"_s), before);
}

TEST_F(SessionListScreenTest, allowStandsAtTheSamePlaceInEveryRow)
{
    world().add(asking(u"storefront"_s));
    const QRectF withThree = placeOf(u"Allow"_s);
    EXPECT_GE(withThree.width(), 52);
    SessionFacts once = asking(u"other"_s);
    once.suggestsRule = false;
    world().end(u"storefront"_s);
    world().add(once);
    view().settle();
    EXPECT_EQ(placeOf(u"Allow"_s), withThree);
}

TEST_F(SessionListScreenTest, alwaysAllowHasALineOfItsOwnWhereThreeButtonsDoNotFit)
{
    world().add(asking(u"storefront"_s));
    const QRectF allow = placeOf(u"Allow"_s);
    EXPECT_EQ(placeOf(u"Always Allow"_s).y(), allow.y());
    panel().setOverrideWidth(230);
    view().settle();
    EXPECT_EQ(placeOf(u"Allow"_s).y(), allow.y());
    EXPECT_GT(placeOf(u"Always Allow"_s).y(), allow.bottom());
    EXPECT_EQ(placeOf(u"Always Allow"_s).right(), placeOf(u"Allow"_s).right());
}

TEST_F(SessionListScreenTest, optionOfAQuestionAnswersIt)
{
    world().add(questioning(u"ledger"_s));
    view().click(u"Half-up"_s);
    EXPECT_THAT(world().acts, ElementsAre(u"answer 1 ledger"_s));
}

TEST_F(SessionListScreenTest, questionThatCannotBeAnsweredHereOffersViewAlone)
{
    world().sessionsWithoutAnswer.insert(u"ledger"_s);
    world().add(questioning(u"ledger"_s));
    EXPECT_FALSE(view().control(u"Half-up"_s));
    view().click(u"View"_s);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::Chat);
}

TEST_F(SessionListScreenTest, pressOnARowOpensItsChat)
{
    world().add({ .project = u"atlas"_s });
    view().click(u"atlas"_s);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::Chat);
}

TEST_F(SessionListScreenTest, altWithALetterAnswersTheRowThatHasTheFocus)
{
    world().add(asking(u"storefront"_s));
    world().add(asking(u"other"_s));
    view().focus(u"other"_s);
    press(Qt::Key_A);
    press(Qt::Key_D);
    EXPECT_THAT(world().acts, IsEmpty());
    press(Qt::Key_D, Qt::AltModifier);
    press(Qt::Key_Up);
    press(Qt::Key_A, Qt::AltModifier);
    EXPECT_THAT(world().acts, ElementsAre(u"deny other"_s, u"allow storefront"_s));
}

TEST_F(SessionListScreenTest, altWithADigitTakesAnOption)
{
    world().add(questioning(u"ledger"_s));
    view().focus(u"ledger"_s);
    press(Qt::Key_2);
    press(Qt::Key_3, Qt::AltModifier);
    EXPECT_THAT(world().acts, IsEmpty());
    press(Qt::Key_2, Qt::AltModifier);
    EXPECT_THAT(world().acts, ElementsAre(u"answer 1 ledger"_s));
}

TEST_F(SessionListScreenTest, altKeysDoNothingInARowThatDoesNotWait)
{
    world().add({ .project = u"atlas"_s });
    view().focus(u"atlas"_s);
    press(Qt::Key_A, Qt::AltModifier);
    press(Qt::Key_1, Qt::AltModifier);
    EXPECT_THAT(world().acts, IsEmpty());
}

TEST_F(SessionListScreenTest, arrowsGoFromRowToRowAndIntoTheirButtons)
{
    world().add(asking(u"storefront"_s));
    world().add({ .project = u"atlas"_s });
    press(Qt::Key_Down);
    EXPECT_TRUE(focused().startsWith(u"storefront"));
    EXPECT_TRUE(showsFocus());
    press(Qt::Key_Down);
    EXPECT_TRUE(focused().startsWith(u"atlas"));
    press(Qt::Key_Down);
    EXPECT_TRUE(focused().startsWith(u"atlas"));
    press(Qt::Key_Up);
    QStringList passed;
    for (int i = 0; i < 5; ++i) {
        press(Qt::Key_Right);
        passed.append(focused());
    }
    EXPECT_THAT(passed, ElementsAre(u"More"_s, u"Deny"_s, u"Always Allow"_s, u"Allow"_s, u"Allow"_s));
    press(Qt::Key_Left);
    EXPECT_EQ(focused(), u"Always Allow");
    press(Qt::Key_Escape);
    EXPECT_TRUE(focused().startsWith(u"storefront"));
    press(Qt::Key_Up);
    EXPECT_EQ(focused(), u"New Session");
    press(Qt::Key_Down);
    EXPECT_TRUE(focused().startsWith(u"storefront"));
}

TEST_F(SessionListScreenTest, tabGoesThroughEverythingInTheOrderOfTheScreen)
{
    world().add({ .project = u"atlas"_s });
    world().add(questioning(u"ledger"_s)); // The later one stands above.
    view().focus(u"Turn sounds off"_s);
    QStringList passed;
    for (int i = 0; i < 10; ++i) {
        press(Qt::Key_Tab);
        passed.append(focused().section(u',', 0, 0));
    }
    EXPECT_THAT(passed, ElementsAre(u"New Session"_s, u"ledger"_s, u"More"_s, u"Half-even"_s, u"Half-up"_s, u"View"_s,
                                    u"atlas"_s, u"More"_s, u"Search sessions..."_s, u"Settings"_s));
    QStringList back;
    for (int i = 0; i < 10; ++i) {
        press(Qt::Key_Backtab, Qt::ShiftModifier);
        back.prepend(focused().section(u',', 0, 0));
    }
    passed.removeLast();
    passed.prepend(u"Turn sounds off"_s);
    EXPECT_EQ(back, passed);
}

TEST_F(SessionListScreenTest, escapeInARowClosesThePanel)
{
    world().add({ .project = u"atlas"_s });
    int closed = 0;
    QObject::connect(&panel(), &MenuBarViewModel::closeRequested, &panel(), [&closed] { ++closed; });
    view().focus(u"atlas"_s);
    press(Qt::Key_Escape);
    EXPECT_EQ(closed, 1);
}

TEST_F(SessionListScreenTest, menuOfARowComesByPointerAndByKeyboard)
{
    world().add({ .project = u"atlas"_s });
    view().click(u"atlas"_s, Qt::RightButton);
    EXPECT_TRUE(control(u"View Agent"_s));
    view().click(u"Focus Terminal"_s);
    view().focus(u"atlas"_s);
    press(Qt::Key_F10, Qt::ShiftModifier);
    view().click(u"Terminate"_s);
    view().focus(u"atlas"_s);
    press(Qt::Key_Menu);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_THAT(world().acts, ElementsAre(u"focus atlas"_s, u"kill atlas"_s));
    EXPECT_EQ(panel().screen(), MenuBarViewModel::Chat);
}

TEST_F(SessionListScreenTest, dotsOfTheRowUnderThePointerOpenItsMenu)
{
    world().add({ .project = u"atlas"_s });
    EXPECT_FALSE(view().control(u"More"_s));
    view().hover(u"atlas"_s);
    view().click(u"More"_s);
    EXPECT_TRUE(control(u"Terminate"_s));
}

TEST_F(SessionListScreenTest, shortcutsWorkWithNothingInFocus)
{
    press(Qt::Key_Comma, Qt::ControlModifier);
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_THAT(world().acts, ElementsAre(u"settings"_s, u"quit"_s));
    press(Qt::Key_N, Qt::ControlModifier);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::SessionBrowser);
    press(Qt::Key_Escape);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::SessionList);
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(panel().screen(), MenuBarViewModel::SessionBrowser);
    EXPECT_EQ(focused(), u"Search sessions..."_s);
}

TEST_F(SessionListScreenTest, focusComesBackToTheRowThatOneCameFrom)
{
    for (int i = 0; i < 5; ++i)
        world().add({ .project = u"project-%1"_s.arg(i) });
    view().focus(u"project-3"_s);
    press(Qt::Key_F, Qt::ControlModifier);
    press(Qt::Key_Escape);
    EXPECT_TRUE(focused().startsWith(u"project-3")) << qPrintable(focused());
    EXPECT_TRUE(showsFocus());
}

TEST_F(SessionListScreenTest, rowThatLeavesGivesItsFocusToTheNext)
{
    for (int i = 0; i < 3; ++i)
        world().add({ .project = u"project-%1"_s.arg(i) });
    view().focus(u"project-1"_s);
    world().end(u"project-1"_s);
    view().settle();
    EXPECT_TRUE(focused().startsWith(u"project-2")) << qPrintable(focused());
    world().end(u"project-2"_s);
    view().settle();
    EXPECT_TRUE(focused().startsWith(u"project-0")) << qPrintable(focused());
}

TEST_F(SessionListScreenTest, buttonThatLeavesGivesItsFocusToItsRow)
{
    const SessionPtr session = world().add(asking(u"storefront"_s));
    view().focus(u"Deny"_s);
    session->setState(SessionState::working);
    view().settle();
    EXPECT_TRUE(focused().startsWith(u"storefront")) << qPrintable(focused());
}

TEST_F(SessionListScreenTest, buttonThatWasPressedByThePointerLeavesNoRing)
{
    const SessionPtr session = world().add(asking(u"storefront"_s));
    view().click(u"Allow"_s);
    session->setState(SessionState::working);
    view().settle();
    EXPECT_TRUE(focused().startsWith(u"storefront")) << qPrintable(focused());
    EXPECT_FALSE(showsFocus());
}

TEST_F(SessionListScreenTest, nothingMovesUnderThePointerWhenARowHasJustBeenAnswered)
{
    const SessionPtr first = world().add(asking(u"storefront"_s));
    world().add(asking(u"ledger"_s));
    const QRectF before = placeOf(u"ledger"_s);
    ASSERT_GT(before.y(), placeOf(u"storefront"_s).y());
    first->setLastAttentionDate(world().now());
    first->setState(SessionState::working);
    view().settle();
    EXPECT_EQ(placeOf(u"ledger"_s), before);
    EXPECT_LT(placeOf(u"storefront"_s).height(), before.height());

    world().settleAfter(Seconds { 3.5 });
    view().settle();
    EXPECT_LT(placeOf(u"ledger"_s).y(), before.y());
}

TEST_F(SessionListScreenTest, focusStaysOnItsSessionInAStormOfChanges)
{
    QList<SessionPtr> sessions;
    for (int i = 0; i < 30; ++i)
        sessions.append(world().add({ .project = u"project-%1"_s.arg(i), .state = SessionState::working }));
    view().focus(u"project-7"_s);
    for (int step = 0; step < 60; ++step) {
        const SessionPtr &session = sessions.at(step * 7 % 30);
        const bool asks = session->id() != u"project-7" && step % 3 == 0;
        session->setToolName(u"Bash"_s);
        session->setLastAttentionDate(asks ? std::optional(session->startedAt()) : std::nullopt);
        session->setState(asks            ? SessionState::needsPermission
                          : step % 2 == 0 ? SessionState::ready
                                          : SessionState::working);
        world().settleAfter(Seconds(0.05));
        QCoreApplication::processEvents();
        ASSERT_TRUE(focused().startsWith(u"project-7,")) << step << ' ' << qPrintable(focused());
    }
}

TEST_F(SessionListScreenTest, scrolledListStaysWhenACardComesAndSaysSoInTheHeader)
{
    for (int i = 0; i < 30; ++i)
        world().add({ .project = u"project-%1"_s.arg(i) });
    view().focus(u"project-5"_s);
    for (int i = 0; i < 15; ++i)
        press(Qt::Key_Down);
    ASSERT_TRUE(focused().startsWith(u"project-20"));
    const QRectF before = placeOf(u"project-20"_s);
    world().add(asking(u"storefront"_s));
    view().settle();
    EXPECT_EQ(placeOf(u"project-20"_s), before);
    panel().setVisible(false);
    panel().setVisible(true);
    view().settle();
    EXPECT_TRUE(view().window().contentItem()->boundingRect().contains(placeOf(u"New Session"_s)));
}

TEST_F(SessionListScreenTest, telegramHasASwitchOnceItIsConfigured)
{
    EXPECT_FALSE(view().control(u"Pause Telegram"_s));
    world().telegram().setBotToken(u"1:a"_s);
    world().telegram().setChatID(u"7"_s);
    view().settle();
    view().click(u"Pause Telegram"_s);
    EXPECT_TRUE(world().telegram().isPaused());
    view().click(u"Resume Telegram"_s);
    EXPECT_FALSE(world().telegram().isPaused());
    control(u"Turn sounds off"_s)->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), u"Pause Telegram"_s);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), u"New Session"_s);
    press(Qt::Key_Backtab);
    EXPECT_EQ(focused(), u"Pause Telegram"_s);
    press(Qt::Key_Backtab);
    EXPECT_EQ(focused(), u"Turn sounds off"_s);
    world().telegram().setChatID({});
    view().settle();
    EXPECT_FALSE(view().control(u"Pause Telegram"_s));
}

TEST_F(SessionListScreenTest, switchesInTheHeaderSetTheirKeys)
{
    view().click(u"Turn notifications off"_s);
    EXPECT_FALSE(panel().notificationsOn());
    view().click(u"Turn notifications on"_s);
    EXPECT_TRUE(panel().notificationsOn());
    view().click(u"Turn sounds off"_s);
    EXPECT_FALSE(panel().soundsOn());
}

} // namespace
} // namespace vantry::test
