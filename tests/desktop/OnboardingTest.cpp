#include "desktop/support/AccessibleTree.h"
#include "desktop/support/Desktop.h"
#include "desktop/support/FakeTray.h"
#include "program/HookCall.h"

#include <QFile>
#include <QRegularExpression>

#include <gmock/gmock.h>

#include <csignal>
#include <optional>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// Of the protocol, beside those that the tree names.
constexpr auto heading = AccessibleTree::Role(83);
constexpr auto radioButton = AccessibleTree::Role(44);

/// The whole program, which a user starts for the first time.
class OnboardingDesktopTest : public ::testing::Test
{
protected:
    void start()
    {
        QProcessEnvironment environment = desktop.environment();
        environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        vantry = &desktop.start(QStringLiteral(VANTRY_PROGRAM), {}, environment);
        ASSERT_TRUE(FakeTray::waitFor([] { return isHealthy(); }));
    }
    void end()
    {
        vantry->sendSignal(SIGTERM);
        EXPECT_TRUE(FakeTray::waitFor(
            [this] { return vantry->waitForFinished(0) || vantry->state() == QProcess::NotRunning; }));
        EXPECT_EQ(vantry->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(vantry->exitCode(), 0);
        vantry = nullptr;
    }
    void TearDown() override
    {
        if (vantry)
            end();
    }
    [[nodiscard]] quint64 shownWindow(const QString &title) const
    {
        const QString pattern = u'^' + QRegularExpression::escape(title) + u'$';
        const QString found = desktop.outputOf(u"xdotool"_s, { u"search"_s, u"--onlyvisible"_s, u"--name"_s, pattern });
        return found.section(u'\n', 0, 0).toULongLong();
    }
    [[nodiscard]] quint64 setUp() const { return shownWindow(u"Vantry Setup"_s); }
    [[nodiscard]] quint64 panel() const { return shownWindow(u"Vantry"_s); }
    [[nodiscard]] bool waitUntilActive(const QString &title) const
    {
        return FakeTray::waitFor([&] {
            const quint64 window = shownWindow(title);
            return window != 0 && desktop.activeWindow() == window;
        });
    }
    [[nodiscard]] bool waitUntilSetUpHasGone() const
    {
        return FakeTray::waitFor([this] { return setUp() == 0; });
    }
    [[nodiscard]] std::optional<AccessibleTree::Object> waitFor(AccessibleTree::Role role, const QString &name) const
    {
        std::optional<AccessibleTree::Object> found;
        EXPECT_TRUE(FakeTray::waitFor([&] { return (found = tree.find(role, name)).has_value(); }))
            << name.toStdString();
        return found;
    }
    void press(const QString &key)
    {
        ++keyPresses;
        (void)desktop.outputOf(u"xdotool"_s, { u"key"_s, key });
    }
    void pressByScreenReader(AccessibleTree::Role role, const QString &name) const
    {
        const auto control = waitFor(role, name);
        ASSERT_TRUE(control);
        EXPECT_TRUE(tree.press(*control));
    }
    void show() { desktop.start(QStringLiteral(VANTRY_PROGRAM), { u"show"_s }); }
    [[nodiscard]] QByteArray contentOf(const QString &file) const
    {
        QFile opened(desktop.path(u"home/"_s + file));
        return opened.open(QFile::ReadOnly) ? opened.readAll().simplified() : QByteArray();
    }
    [[nodiscard]] bool isStored(const QByteArray &setting) const
    {
        return FakeTray::waitFor([&] { return contentOf(u".config/Vantry/settings.json"_s).contains(setting); });
    }
    [[nodiscard]] bool isHookInstalled() const
    {
        return QFile::exists(desktop.path(u"home/.claude/hooks/vantry_hook.py"_s)) &&
               contentOf(u".claude/settings.json"_s).contains("vantry_hook.py --port 49152");
    }

    Desktop desktop { { .windowManager = true, .bus = true, .firstStart = true } };
    AccessibleTree tree { desktop.busAddress() };
    ChildProcess *vantry { nullptr };
    int keyPresses { 0 };
};

TEST_F(OnboardingDesktopTest, isDoneByTheKeyboardAloneInTwelvePresses)
{
    start();
    ASSERT_TRUE(waitUntilActive(u"Vantry Setup"_s));

    EXPECT_TRUE(waitFor(heading, u"Welcome to Vantry"_s));
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(heading, u"What Vantry Does"_s));
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(heading, u"Checking Dependencies"_s));
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(AccessibleTree::PushButton, u"Install Hook"_s));
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(AccessibleTree::PushButton, u"Continue"_s));
    EXPECT_TRUE(isHookInstalled());
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(heading, u"Configure Sounds"_s));
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(heading, u"Choose Display Mode"_s));
    press(u"Tab"_s);
    press(u"Right"_s);
    press(u"Right"_s);
    EXPECT_TRUE(isStored(R"("displayMode": "both")"));
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(heading, u"You're All Set!"_s));
    press(u"Return"_s);

    EXPECT_TRUE(waitUntilSetUpHasGone());
    EXPECT_TRUE(isStored(R"("hasCompletedOnboarding": true)"));
    EXPECT_LE(keyPresses, 12);

    // The program goes on, and the next one begins where this has ended.
    HookCall::post({ { "session_id", "one" }, { "hook_event_name", "Stop" }, { "cwd", "/projects/storefront" } })
        .body();
    end();
    start();
    show();
    EXPECT_TRUE(waitUntilActive(u"Vantry"_s));
    EXPECT_EQ(setUp(), 0U);
}

TEST_F(OnboardingDesktopTest, comesBackWithThePanelAtTheStepAtWhichItWasClosed)
{
    FakeTray tray(desktop.busAddress());
    start();
    ASSERT_TRUE(tray.waitForIcon());
    ASSERT_TRUE(waitUntilActive(u"Vantry Setup"_s));
    press(u"Return"_s);
    EXPECT_TRUE(waitFor(heading, u"What Vantry Does"_s));
    (void)desktop.outputOf(u"wmctrl"_s, { u"-c"_s, u"Vantry Setup"_s });
    ASSERT_TRUE(waitUntilSetUpHasGone());
    EXPECT_TRUE(isHealthy());

    tray.activate();

    EXPECT_TRUE(FakeTray::waitFor([this] { return setUp() != 0; }));
    EXPECT_TRUE(waitFor(heading, u"What Vantry Does"_s));
    EXPECT_TRUE(waitUntilActive(u"Vantry"_s)) << "the panel keeps the focus, so it stays";
    (void)desktop.outputOf(u"wmctrl"_s, { u"-a"_s, u"Vantry Setup"_s });
    EXPECT_TRUE(waitUntilActive(u"Vantry Setup"_s));
    EXPECT_TRUE(FakeTray::waitFor([this] { return panel() == 0; }));
}

TEST_F(OnboardingDesktopTest, staysWhenAnotherStartShowsThePanel)
{
    start();
    ASSERT_TRUE(waitUntilActive(u"Vantry Setup"_s));

    desktop.start(QStringLiteral(VANTRY_PROGRAM), {});

    EXPECT_TRUE(waitUntilActive(u"Vantry"_s));
    EXPECT_NE(setUp(), 0U);
}

TEST_F(OnboardingDesktopTest, isDoneByAScreenReader)
{
    start();
    pressByScreenReader(AccessibleTree::PushButton, u"Get Started"_s);
    EXPECT_TRUE(waitFor(heading, u"What Vantry Does"_s));
    EXPECT_TRUE(waitFor(AccessibleTree::ListItem, u"Allow / Deny, Handle permissions from the menu bar"_s));
    pressByScreenReader(AccessibleTree::PushButton, u"Continue"_s);
    EXPECT_TRUE(waitFor(heading, u"Checking Dependencies"_s));
    EXPECT_TRUE(waitFor(AccessibleTree::ListItem, u"Python 3, Found, /"_s));
    pressByScreenReader(AccessibleTree::PushButton, u"Continue"_s);
    pressByScreenReader(AccessibleTree::PushButton, u"Install Hook"_s);
    pressByScreenReader(AccessibleTree::PushButton, u"Continue"_s);
    EXPECT_TRUE(isHookInstalled());
    EXPECT_TRUE(waitFor(heading, u"Configure Sounds"_s));
    pressByScreenReader(AccessibleTree::PushButton, u"Back"_s);
    EXPECT_TRUE(waitFor(heading, u"Install Hook"_s));
    pressByScreenReader(AccessibleTree::PushButton, u"Continue"_s);
    EXPECT_TRUE(waitFor(heading, u"Configure Sounds"_s));
    pressByScreenReader(AccessibleTree::PushButton, u"Continue"_s);
    pressByScreenReader(radioButton, u"Both"_s);
    EXPECT_TRUE(isStored(R"("displayMode": "both")"));
    pressByScreenReader(AccessibleTree::PushButton, u"Continue"_s);
    pressByScreenReader(AccessibleTree::PushButton, u"Start Using Vantry"_s);

    EXPECT_TRUE(waitUntilSetUpHasGone());
    EXPECT_TRUE(isStored(R"("hasCompletedOnboarding": true)"));
}

} // namespace
} // namespace vantry::test
