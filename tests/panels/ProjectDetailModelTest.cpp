#include "panels/ProjectDetailModel.h"

#include "support/ManualClock.h"

#include <gmock/gmock.h>

#include <memory>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

class ProjectDetailModelTest : public ::testing::Test
{
protected:
    ProjectDetailModel &open(QList<RecentSession> sessions = {})
    {
        detail = std::make_unique<ProjectDetailModel>(
            RecentProject { u"-p-app"_s, u"/p/app"_s, u"app"_s, clock.now(), std::move(sessions) }, clock.now(),
            [this](const TerminalBridge::LaunchMode &mode, const AgentLaunchFlags &flags) {
                launched.append({ mode, flags });
            });
        return *detail;
    }
    static QVariantList field(const QVariantList &rows, const QString &name)
    {
        QVariantList values;
        for (const QVariant &row : rows)
            values.append(row.toMap().value(name));
        return values;
    }

    ManualClock clock;
    std::unique_ptr<ProjectDetailModel> detail;
    QList<std::pair<TerminalBridge::LaunchMode, AgentLaunchFlags>> launched;
};

TEST_F(ProjectDetailModelTest, agentsAreListedAndOneCanBeChosen)
{
    open();
    EXPECT_EQ(field(detail->tools(), u"title"_s), (QVariantList { u"Claude Code"_s, u"Codex"_s, u"Aider"_s }));
    EXPECT_EQ(field(detail->tools(), u"symbol"_s), (QVariantList { u"terminal"_s, u"sparkles"_s, u"text.bubble"_s }));
    EXPECT_EQ(field(detail->tools(), u"selectable"_s), (QVariantList { true, false, false }));
    EXPECT_EQ(field(detail->tools(), u"selected"_s), (QVariantList { true, false, false }));
}

TEST_F(ProjectDetailModelTest, agentThatIsToComeCantBeChosen)
{
    open();
    for (const int index : { 1, 2, 3, 4, -1 }) {
        detail->selectTool(index);
        EXPECT_EQ(detail->selectedTool(), AgentTool::claudeCode);
    }
    detail->selectTool(0);
    EXPECT_EQ(detail->selectedTool(), AgentTool::claudeCode);
}

TEST_F(ProjectDetailModelTest, modesAreListedWithTheirTexts)
{
    open();
    EXPECT_EQ(field(detail->modes(), u"title"_s),
              (QVariantList { u"Ask permissions"_s, u"Auto accept edits"_s, u"Plan mode"_s, u"Bypass permissions"_s }));
    EXPECT_EQ(field(detail->modes(), u"subtitle"_s),
              (QVariantList { u"Always ask before making changes"_s, u"Automatically accept all file edits"_s,
                              u"Create a plan before making changes"_s, u"Accepts all permissions"_s }));
    EXPECT_EQ(field(detail->modes(), u"isWarning"_s), (QVariantList { false, false, false, true }));
    EXPECT_EQ(field(detail->modes(), u"selected"_s), (QVariantList { true, false, false, false }));
    EXPECT_EQ(detail->selectedModeTitle(), u"Ask permissions"_s);
    EXPECT_EQ(detail->selectedModeSymbol(), u"hand.raised"_s);
}

TEST_F(ProjectDetailModelTest, chosenModeClosesTheListAndSurvivesOpeningItAgain)
{
    open();
    detail->setModesExpanded(true);
    detail->selectMode(3);
    EXPECT_FALSE(detail->modesExpanded());
    EXPECT_TRUE(detail->selectedModeIsWarning());
    EXPECT_EQ(field(detail->modes(), u"selected"_s), (QVariantList { false, false, false, true }));

    detail->setModesExpanded(true);
    detail->setModesExpanded(false);
    EXPECT_EQ(detail->selectedModeTitle(), u"Bypass permissions"_s);
    EXPECT_EQ(detail->flags().permissionMode, AgentPermissionMode::bypassPermissions);
}

TEST_F(ProjectDetailModelTest, modeThatIsNotThereChangesNothing)
{
    open();
    detail->setModesExpanded(true);
    detail->selectMode(4);
    detail->selectMode(-1);
    EXPECT_EQ(detail->flags().permissionMode, AgentPermissionMode::askPermissions);
    EXPECT_TRUE(detail->modesExpanded());
}

TEST_F(ProjectDetailModelTest, launchesCarryTheMode)
{
    open();
    detail->newSession();
    detail->selectMode(2);
    detail->continueLatest();
    detail->resumeSession(u"s1"_s);

    ASSERT_EQ(launched.size(), 3);
    EXPECT_EQ(launched.at(0).first, TerminalBridge::LaunchMode(TerminalBridge::Fresh {}));
    EXPECT_EQ(launched.at(0).second.permissionMode, AgentPermissionMode::askPermissions);
    EXPECT_EQ(launched.at(1).first, TerminalBridge::LaunchMode(TerminalBridge::ContinueLatest {}));
    EXPECT_EQ(launched.at(1).second.permissionMode, AgentPermissionMode::planMode);
    EXPECT_EQ(launched.at(2).first, TerminalBridge::LaunchMode(TerminalBridge::Resume { u"s1"_s }));
}

TEST_F(ProjectDetailModelTest, projectWithoutSessionsListsNone)
{
    EXPECT_TRUE(open().recentSessions().isEmpty());
}

TEST_F(ProjectDetailModelTest, sessionsShowHowTheyBegan)
{
    open({ { u"0123456789"_s, clock.now() - std::chrono::hours { 3 }, u"Retry the\n payment"_s },
           { u"abcdefghij"_s, clock.now(), std::nullopt } });
    EXPECT_EQ(field(detail->recentSessions(), u"id"_s), (QVariantList { u"0123456789"_s, u"abcdefghij"_s }));
    EXPECT_EQ(field(detail->recentSessions(), u"title"_s), (QVariantList { u"Retry the payment"_s, u"abcdefgh"_s }));
    EXPECT_EQ(field(detail->recentSessions(), u"timeText"_s), (QVariantList { u"3h ago"_s, u"just now"_s }));
}

} // namespace
} // namespace vantry::test
