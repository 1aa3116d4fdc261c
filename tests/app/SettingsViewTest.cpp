#include "app/settings/SettingsViewModel.h"

#include "support/SettingsWorld.h"
#include "support/views/ViewWindow.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

#include <gmock/gmock.h>

#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using Presence = NotificationCentre::Server::Presence;

/// The settings in a window in memory, over invented services.
class SettingsViewTest : public testing::Test
{
protected:
    void open(double textScale = 1)
    {
        model.emplace(world.services());
        world.settle();
        window.emplace(u"qrc:/qt/qml/Vantry/App/SettingsView.qml"_s,
                       QVariantMap { { u"model"_s, QVariant::fromValue(&*model) } });
        DesktopPreferences::Values preferences;
        preferences.textScale = textScale;
        preferences.reducedMotion = true;
        window->preferences().set(preferences);
        window->view().setResizeMode(QQuickView::SizeRootObjectToView);
        window->view().resize(int(440 * textScale), int(480 * textScale));
        QCoreApplication::processEvents();
    }
    void openTab(int tab)
    {
        open();
        window->click(u"tab"_s + QString::number(tab));
        QCoreApplication::processEvents();
    }
    [[nodiscard]] QString focused() { return window->view().activeFocusItem()->objectName(); }
    /// The same object that has the focus, in words.
    [[nodiscard]] static QAccessibleInterface *accessible(QQuickItem *item)
    {
        return QAccessible::queryAccessibleInterface(item);
    }
    [[nodiscard]] QAccessibleInterface *accessible(const QString &name) { return accessible(window->item(name)); }
    /// What the Tab key stops at from here on, until it is back.
    [[nodiscard]] QStringList stops()
    {
        QStringList names;
        do {
            names.append(focused());
            window->key(Qt::Key_Tab);
        } while (focused() != names.first() && names.size() < 50);
        return names;
    }
    void settle()
    {
        world.settle();
        QCoreApplication::processEvents();
    }

    SettingsWorld world;
    std::optional<SettingsViewModel> model;
    std::optional<ViewWindow> window;
};

TEST_F(SettingsViewTest, goesThroughTheTabsByTheKeyboard)
{
    open();
    EXPECT_EQ(focused(), u"tab0");
    window->key(Qt::Key_Right);
    EXPECT_EQ(focused(), u"tab1");
    EXPECT_TRUE(window->item(u"botToken"_s));
    window->key(Qt::Key_Left);
    window->key(Qt::Key_Left);
    EXPECT_EQ(focused(), u"tab3") << "around the end";
    EXPECT_TRUE(window->item(u"resetOnboarding"_s));
    window->key(Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_TRUE(window->item(u"launchAtLogin"_s));
    window->key(Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_TRUE(window->item(u"botToken"_s));
    window->key(Qt::Key_PageUp, Qt::ControlModifier);
    EXPECT_TRUE(window->item(u"launchAtLogin"_s));
    window->key(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(window->item(u"resetOnboarding"_s));
}

TEST_F(SettingsViewTest, buildsOnlyTheTabThatIsShown)
{
    open();
    const auto has = [this](const QString &name) { return window->root()->findChild<QQuickItem *>(name) != nullptr; };
    EXPECT_TRUE(has(u"launchAtLogin"_s));
    EXPECT_FALSE(has(u"botToken"_s));
    window->click(u"tab1"_s);
    EXPECT_TRUE(window->item(u"botToken"_s));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(has(u"launchAtLogin"_s));
}

TEST_F(SettingsViewTest, theTabKeyStopsAtEveryControlInOrder)
{
    open();
    EXPECT_EQ(stops(), (QStringList { u"tab0"_s, u"launchAtLogin"_s, u"segment0"_s, u"virtualNotch"_s,
                                      u"notificationsEnabled"_s, u"notifyPermission"_s, u"notifyTaskComplete"_s,
                                      u"notifyQuestion"_s, u"installHook"_s, u"soundsEnabled"_s, u"sound0"_s,
                                      u"preview0"_s, u"sound1"_s, u"preview1"_s, u"sound2"_s, u"preview2"_s }));
    for (const auto &[tab, names] :
         { std::pair { 1, QStringList { u"tab1"_s, u"telegramNotifications"_s, u"botToken"_s, u"chatID"_s } },
           std::pair { 2, QStringList { u"tab2"_s, u"checkForUpdates"_s, u"quit"_s } },
           std::pair { 3, QStringList { u"tab3"_s, u"resetOnboarding"_s, u"revealDebugLog"_s } } }) {
        window->click(u"tab"_s + QString::number(tab));
        EXPECT_EQ(stops(), names);
    }
}

TEST_F(SettingsViewTest, everySwitchIsFlippedByTheSpaceKeyAndByTheMouse)
{
    open();
    const std::vector<std::pair<QString, QString>> switches { { u"virtualNotch"_s, u"virtual_notch"_s },
                                                              { u"notifyPermission"_s, u"notify_permission"_s },
                                                              { u"notifyTaskComplete"_s, u"notify_taskComplete"_s },
                                                              { u"notifyQuestion"_s, u"notify_question"_s },
                                                              { u"notificationsEnabled"_s, u"notifications_enabled"_s },
                                                              { u"soundsEnabled"_s, u"sounds_enabled"_s } };
    for (const auto &[name, key] : switches) {
        SCOPED_TRACE(name.toStdString());
        window->item(name)->forceActiveFocus(Qt::TabFocusReason);
        EXPECT_TRUE(window->item(name)->property("on").toBool());
        window->key(Qt::Key_Space);
        settle();
        EXPECT_FALSE(world.defaults.boolean(key, true));
        EXPECT_FALSE(window->item(name)->property("on").toBool());
        window->click(name);
        settle();
        EXPECT_TRUE(world.defaults.boolean(key, false));
        world.defaults.setBoolean(key, false);
        settle();
        EXPECT_FALSE(window->item(name)->property("on").toBool()) << "from elsewhere";
        world.defaults.setBoolean(key, true);
        settle();
    }
    window->item(u"launchAtLogin"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_Space);
    settle();
    EXPECT_TRUE(world.loginItem.isEnabled());
    EXPECT_TRUE(window->item(u"launchAtLogin"_s)->property("on").toBool());
}

TEST_F(SettingsViewTest, choosesTheDisplayModeByTheArrowKeys)
{
    open();
    window->item(u"segment0"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_Right);
    window->key(Qt::Key_Right);
    window->key(Qt::Key_Right);
    settle();
    EXPECT_EQ(world.defaults.string(u"displayMode"_s, {}), u"both");
    EXPECT_EQ(focused(), u"segment2");
    window->key(Qt::Key_Up);
    settle();
    EXPECT_EQ(world.defaults.string(u"displayMode"_s, {}), u"notch");
    window->click(u"segment0"_s);
    settle();
    EXPECT_EQ(world.defaults.string(u"displayMode"_s, {}), u"menuBar");

    world.defaults.setString(u"displayMode"_s, u"both"_s);
    settle();
    EXPECT_TRUE(window->item(u"segment2"_s)->property("checked").toBool()) << "from elsewhere";
}

TEST_F(SettingsViewTest, choosesASoundByTheKeyboardAndPreviewsIt)
{
    open();
    window->item(u"sound2"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_Down);
    EXPECT_TRUE(window->waitFor([this] {
        return window->item(u"sound2"_s)->property("popup").value<QObject *>()->property("opened").toBool();
    }));
    window->key(Qt::Key_Up);
    window->key(Qt::Key_Return);
    settle();
    EXPECT_EQ(world.defaults.string(u"sound_question"_s, {}), u"system:Glass");
    EXPECT_EQ(window->item(u"sound2"_s)->property("displayText"), u"Glass"_s);

    window->item(u"preview2"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_Return);
    EXPECT_THAT(world.player.played, ElementsAre(u"named Glass"));
}

TEST_F(SettingsViewTest, cancellingTheFileDialogLeavesTheEarlierSoundInThePicker)
{
    open();
    world.defaults.setString(u"sound_question"_s, u"system:Blow"_s);
    settle();
    window->item(u"sound2"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_Space);
    window->key(Qt::Key_End);
    window->key(Qt::Key_Return);
    ASSERT_TRUE(world.fileChooser.isOpen());
    EXPECT_THAT(world.fileChooser.messages, ElementsAre(u"Choose a sound file for Question"));
    EXPECT_EQ(window->item(u"sound2"_s)->property("displayText"), u"Blow"_s);
    EXPECT_EQ(window->item(u"sound2"_s)->property("currentIndex"), 1);

    world.fileChooser.answer({});
    settle();
    EXPECT_EQ(window->item(u"sound2"_s)->property("displayText"), u"Blow"_s);
    EXPECT_EQ(window->item(u"sound2"_s)->property("currentIndex"), 1);
    EXPECT_EQ(world.defaults.string(u"sound_question"_s, {}), u"system:Blow");
}

TEST_F(SettingsViewTest, escapeClosesAnOpenListAndThenTheWindow)
{
    open();
    window->item(u"sound0"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_Space);
    const auto isOpen = [this] {
        return window->item(u"sound0"_s)->property("popup").value<QObject *>()->property("visible").toBool();
    };
    ASSERT_TRUE(isOpen());
    window->key(Qt::Key_Escape);
    EXPECT_TRUE(window->waitFor([&] { return !isOpen(); }));
    EXPECT_TRUE(window->view().isVisible());
    window->key(Qt::Key_Escape);
    EXPECT_FALSE(window->view().isVisible());
}

TEST_F(SettingsViewTest, closesByItsKeyFromAField)
{
    openTab(1);
    window->item(u"chatID"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window->view().isVisible());
}

TEST_F(SettingsViewTest, scrollsToTheControlThatHasTheFocus)
{
    open();
    auto *last = window->item(u"preview2"_s);
    const auto isInView = [&] {
        const QRectF frame = last->mapRectToScene(last->boundingRect());
        return frame.top() >= 0 && frame.bottom() <= window->view().height();
    };
    EXPECT_FALSE(isInView());
    last->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_TRUE(isInView());
}

TEST_F(SettingsViewTest, dimsWhatItsMasterTurnsOff)
{
    open();
    const auto reason = [this](const QString &name) {
        return window->item(name)->property("disabledReason").toString();
    };
    world.defaults.setBoolean(u"notifications_enabled"_s, false);
    world.defaults.setBoolean(u"sounds_enabled"_s, false);
    settle();
    EXPECT_EQ(reason(u"notificationsEnabled"_s), QString());
    EXPECT_EQ(reason(u"notifyQuestion"_s), u"Notifications are off");
    EXPECT_EQ(reason(u"sound1"_s), u"Sounds are off");
    window->click(u"notifyQuestion"_s);
    settle();
    EXPECT_TRUE(world.defaults.boolean(u"notify_question"_s, true));
}

TEST_F(SettingsViewTest, disablesNotificationsWhereNobodyShowsThem)
{
    open();
    world.centre.setServer({ Presence::Absent, {} });
    world.centre.tellStatus();
    EXPECT_TRUE(window->item(u"notificationNote"_s)->isVisible());
    for (const QString &name : { u"notificationsEnabled"_s, u"notifyQuestion"_s })
        EXPECT_FALSE(window->item(name)->property("usable").toBool());

    world.centre.setServer({ Presence::Present, { u"actions"_s } });
    world.centre.tellStatus();
    EXPECT_FALSE(window->item(u"notificationNote"_s)->isVisible());
    EXPECT_TRUE(window->item(u"notifyQuestion"_s)->property("usable").toBool());
}

TEST_F(SettingsViewTest, offersWhatIsToBeDoneAboutThePermission)
{
    open();
    world.centre.tellStatus(NotificationCentre::Authorization::Denied);
    EXPECT_FALSE(window->item(u"notificationsEnabled"_s)->isVisible());
    EXPECT_FALSE(window->item(u"requestPermission"_s)->isVisible());
    window->click(u"openSystemSettings"_s);
    EXPECT_EQ(world.opened.size(), 1);

    model->general()->refresh();
    world.centre.tellStatus(NotificationCentre::Authorization::NotDetermined);
    EXPECT_FALSE(window->item(u"openSystemSettings"_s)->isVisible());
    window->click(u"requestPermission"_s);
    EXPECT_EQ(world.centre.authorizing.size(), 1U);
}

TEST_F(SettingsViewTest, installsTheHookAndSaysSo)
{
    open();
    EXPECT_EQ(window->item(u"installHook"_s)->property("text"), u"Install"_s);
    EXPECT_FALSE(window->item(u"hookStatusMessage"_s)->isVisible());
    window->click(u"installHook"_s);
    EXPECT_TRUE(window->item(u"installHook"_s)->property("busy").toBool());
    settle();
    EXPECT_EQ(window->item(u"installHook"_s)->property("text"), u"Reinstall"_s);
    auto *message = window->item(u"hookStatusMessage"_s);
    EXPECT_TRUE(message->isVisible());
    EXPECT_TRUE(message->property("selectByMouse").toBool());
    EXPECT_GT(message->property("lineCount").toInt(), 0);
    EXPECT_TRUE(QTest::qWaitFor([message] {
        return message->mapRectToScene(message->boundingRect()).bottom() <= 480 - 20;
    })) << "scrolled into view";
}

TEST_F(SettingsViewTest, takesTheTokenOverWhenTheUserIsDone)
{
    openTab(1);
    auto *token = window->item(u"botToken"_s);
    token->forceActiveFocus(Qt::TabFocusReason);
    window->type(u"1:abc"_s);
    EXPECT_EQ(world.telegram.botToken(), QString()) << "not by the key";
    window->key(Qt::Key_Return);
    EXPECT_EQ(world.telegram.botToken(), u"1:abc");
    window->type(u"d"_s);
    window->key(Qt::Key_Tab);
    EXPECT_EQ(world.telegram.botToken(), u"1:abcd") << "the focus went on";
    window->type(u"42"_s);
    window->key(Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(world.telegram.chatID(), u"42") << "another tab";

    window->key(Qt::Key_Tab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(window->item(u"botToken"_s)->property("length"), 6);
    QGuiApplication::clipboard()->setText(u"77"_s);
    window->item(u"chatID"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_A, Qt::ControlModifier);
    window->key(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(world.telegram.chatID(), u"77") << "pasted";
    EXPECT_EQ(window->item(u"status"_s)->property("text"), u"Running"_s);
}

TEST_F(SettingsViewTest, takesOverWhatIsTypedWhenTheWindowCloses)
{
    openTab(1);
    window->item(u"chatID"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->type(u"42"_s);
    window.reset();
    model.reset();
    EXPECT_EQ(world.telegram.chatID(), u"42");
}

TEST_F(SettingsViewTest, hidesTheToken)
{
    world.telegram.setBotToken(u"1:SECRET"_s);
    openTab(1);
    auto *token = window->item(u"botToken"_s);
    EXPECT_EQ(token->property("displayText"), u"••••••••"_s);
    QGuiApplication::clipboard()->setText(u"before"_s);
    token->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_A, Qt::ControlModifier);
    window->key(Qt::Key_C, Qt::ControlModifier);
    window->key(Qt::Key_X, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"before");

    auto *object = accessible(token);
    ASSERT_TRUE(object);
    EXPECT_TRUE(object->state().passwordEdit);
    EXPECT_EQ(object->text(QAccessible::Description), u"Bot Token");
    EXPECT_FALSE(object->text(QAccessible::Value).contains(u"SECRET"));
    auto *text = object->textInterface();
    EXPECT_FALSE(text && text->text(0, text->characterCount()).contains(u"SECRET"));
}

TEST_F(SettingsViewTest, resetsTheOnboardingAndShowsTheLog)
{
    world.defaults.setBoolean(u"hasCompletedOnboarding"_s, true);
    openTab(3);
    EXPECT_FALSE(window->item(u"outcome"_s)->isVisible());
    window->click(u"resetOnboarding"_s);
    EXPECT_FALSE(world.defaults.boolean(u"hasCompletedOnboarding"_s, true));
    EXPECT_TRUE(window->item(u"outcome"_s)->isVisible());
    EXPECT_EQ(window->item(u"outcome"_s)->property("text"), u"Reset! Restart to see onboarding."_s);
    window->click(u"revealDebugLog"_s);
    EXPECT_EQ(world.fileManager.revealed.size(), 1);
}

TEST_F(SettingsViewTest, quitsAndHasNoUpdatesToCheckFor)
{
    openTab(2);
    EXPECT_FALSE(window->item(u"checkForUpdates"_s)->property("usable").toBool());
    window->item(u"quit"_s)->forceActiveFocus(Qt::TabFocusReason);
    window->key(Qt::Key_Return);
    EXPECT_EQ(world.quits, 1);
    window->click(u"quit"_s);
    EXPECT_EQ(world.quits, 2);
    window->click(u"checkForUpdates"_s);
    window->hover(u"quit"_s);
    window->click(u"quit"_s);
    EXPECT_EQ(world.quits, 3);
}

TEST_F(SettingsViewTest, namesEverythingForAScreenReader)
{
    open();
    EXPECT_EQ(accessible(u"tabs"_s)->role(), QAccessible::PageTabList);
    EXPECT_EQ(accessible(u"tab0"_s)->role(), QAccessible::PageTab);
    EXPECT_EQ(accessible(u"tab1"_s)->text(QAccessible::Name), u"Telegram");
    EXPECT_TRUE(accessible(u"tab0"_s)->state().selected);
    EXPECT_EQ(accessible(u"launchAtLogin"_s)->role(), QAccessible::CheckBox);
    EXPECT_EQ(accessible(u"launchAtLogin"_s)->text(QAccessible::Name), u"Launch at Login");
    EXPECT_TRUE(accessible(u"soundsEnabled"_s)->state().checked);
    EXPECT_FALSE(accessible(u"launchAtLogin"_s)->state().checked);
    EXPECT_EQ(accessible(u"displayMode"_s)->text(QAccessible::Name), u"Display Mode");
    EXPECT_EQ(accessible(u"segment1"_s)->role(), QAccessible::RadioButton);
    EXPECT_EQ(accessible(u"segment1"_s)->text(QAccessible::Name), u"Notch");
    EXPECT_TRUE(accessible(u"segment0"_s)->state().checked);
    EXPECT_EQ(accessible(u"sound1"_s)->role(), QAccessible::ComboBox);
    EXPECT_EQ(accessible(u"sound1"_s)->text(QAccessible::Name), u"Task Complete, Glass");
    EXPECT_EQ(accessible(u"preview1"_s)->text(QAccessible::Name), u"Preview Task Complete");
    EXPECT_EQ(accessible(u"installHook"_s)->role(), QAccessible::Button);
    accessible(u"notifyQuestion"_s)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(world.defaults.boolean(u"notify_question"_s, true));
}

TEST_F(SettingsViewTest, fitsAtTwiceTheTextSize)
{
    open(2);
    const auto *mode = window->item(u"segment2"_s);
    EXPECT_LE(mode->mapRectToScene(mode->boundingRect()).right(), window->view().width());
    const auto *tab = window->item(u"tab3"_s);
    EXPECT_LE(tab->mapRectToScene(tab->boundingRect()).right(), window->view().width());
}

} // namespace
} // namespace vantry::test
