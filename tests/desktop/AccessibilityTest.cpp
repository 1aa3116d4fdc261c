#include "desktop/support/AccessibleTree.h"
#include "desktop/support/Desktop.h"
#include "program/HookCall.h"

#include <QFile>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// The whole program, and somebody who has its panel read out.
class AccessibilityDesktopTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QProcessEnvironment environment = desktop.environment();
        environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        vantry = &desktop.start(QStringLiteral(VANTRY_PROGRAM), {}, environment);
        ASSERT_TRUE(eventually([] { return isHealthy(); }));
    }
    void showPanel() { desktop.start(QStringLiteral(VANTRY_PROGRAM), { u"show"_s }); }
    /// Waits until there is one.
    [[nodiscard]] std::optional<AccessibleTree::Object> waitFor(AccessibleTree::Role role, const QString &name)
    {
        std::optional<AccessibleTree::Object> found;
        EXPECT_TRUE(eventually([&] { return (found = tree.find(role, name)).has_value(); })) << name.toStdString();
        return found;
    }
    void TearDown() override
    {
        vantry->sendSignal(SIGTERM);
        EXPECT_TRUE(vantry->waitForFinished(30'000));
        EXPECT_EQ(vantry->exitCode(), 0);
    }

    Desktop desktop { { .windowManager = true, .bus = true } };
    AccessibleTree tree { desktop.busAddress() };
    ChildProcess *vantry { nullptr };
};

TEST_F(AccessibilityDesktopTest, aRequestIsReadOutAndAllowedByAScreenReader)
{
    auto held = HookCall::post({ { "session_id", "one" },
                                 { "hook_event_name", "PermissionRequest" },
                                 { "tool_name", "Bash" },
                                 { "tool_detail", "make" },
                                 { "cwd", "/projects/storefront" } });
    showPanel();
    const auto list = waitFor(AccessibleTree::List, u"Sessions"_s);
    const auto row = waitFor(AccessibleTree::ListItem, u"storefront, Needs permission, Bash, make"_s);
    ASSERT_TRUE(list && row);
    EXPECT_TRUE(tree.findIn(*list, AccessibleTree::ListItem, u"storefront"_s));
    EXPECT_TRUE(tree.findIn(*row, AccessibleTree::PushButton, u"Deny"_s));
    const auto allow = tree.findIn(*row, AccessibleTree::PushButton, u"Allow"_s);
    ASSERT_TRUE(allow);

    EXPECT_TRUE(tree.press(*allow));
    EXPECT_THAT(held.body(), ::testing::HasSubstr(R"("behavior":"allow")"));
}

TEST_F(AccessibilityDesktopTest, theFocusIsToldAsItMoves)
{
    HookCall::post(
        { { "session_id", "one" }, { "hook_event_name", "UserPromptSubmit" }, { "cwd", "/projects/storefront" } })
        .body();
    showPanel();
    const auto row = waitFor(AccessibleTree::ListItem, u"storefront"_s);
    ASSERT_TRUE(row);
    ASSERT_TRUE(desktop.waitUntilActive(desktop.waitForWindow(u"vantry"_s)));

    EXPECT_TRUE(eventually([&] {
        (void)desktop.outputOf(u"xdotool"_s, { u"key"_s, u"Down"_s });
        return tree.hasFocus(*row);
    }));
}

TEST_F(AccessibilityDesktopTest, theSettingsAreReadOutAndFlippedByAScreenReader)
{
    desktop.start(QStringLiteral(VANTRY_PROGRAM), { u"settings"_s });
    const auto mode = waitFor(AccessibleTree::RadioButton, u"Both"_s);
    const auto sounds = waitFor(AccessibleTree::CheckBox, u"Sounds"_s);
    const auto telegram = waitFor(AccessibleTree::PageTab, u"Telegram"_s);
    ASSERT_TRUE(mode && sounds && telegram);
    const auto stores = [this](const QByteArray &setting) {
        return eventually([&] {
            QFile file(desktop.path(u"home/.config/Vantry/settings.json"_s));
            return file.open(QFile::ReadOnly) && file.readAll().simplified().contains(setting);
        });
    };

    EXPECT_TRUE(tree.press(*sounds));
    EXPECT_TRUE(stores(R"("sounds_enabled": false)"));
    EXPECT_TRUE(tree.toggle(*sounds));
    EXPECT_TRUE(stores(R"("sounds_enabled": true)"));
    EXPECT_TRUE(tree.press(*mode));
    EXPECT_TRUE(stores(R"("displayMode": "both")"));
    const auto menuBar = waitFor(AccessibleTree::RadioButton, u"Menu Bar"_s);
    ASSERT_TRUE(menuBar);
    EXPECT_TRUE(tree.toggle(*menuBar));
    EXPECT_TRUE(stores(R"("displayMode": "menuBar")"));
    EXPECT_TRUE(tree.press(*telegram));
    EXPECT_TRUE(waitFor(AccessibleTree::PasswordText, {})) << "that of the bot's token";
}

} // namespace
} // namespace vantry::test
