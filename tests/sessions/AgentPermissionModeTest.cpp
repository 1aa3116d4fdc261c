#include "sessions/AgentPermissionMode.h"

#include <gmock/gmock.h>

namespace vantry::test {

TEST(AgentPermissionMode, isListedInItsOrder)
{
    EXPECT_THAT(allAgentPermissionModes,
                ::testing::ElementsAre(AgentPermissionMode::askPermissions, AgentPermissionMode::autoAcceptEdits,
                                       AgentPermissionMode::planMode, AgentPermissionMode::bypassPermissions));
}

TEST(AgentPermissionMode, hasItsNameAsRawValue)
{
    EXPECT_EQ(rawValue(AgentPermissionMode::askPermissions), QStringLiteral("askPermissions"));
    EXPECT_EQ(rawValue(AgentPermissionMode::autoAcceptEdits), QStringLiteral("autoAcceptEdits"));
    EXPECT_EQ(rawValue(AgentPermissionMode::planMode), QStringLiteral("planMode"));
    EXPECT_EQ(rawValue(AgentPermissionMode::bypassPermissions), QStringLiteral("bypassPermissions"));
}

TEST(AgentPermissionMode, isReadFromItsRawValueAlone)
{
    for (const AgentPermissionMode mode : allAgentPermissionModes)
        EXPECT_EQ(agentPermissionModeFromRawValue(rawValue(mode)), mode);
    EXPECT_EQ(agentPermissionModeFromRawValue(u"planmode"), std::nullopt);
    EXPECT_EQ(agentPermissionModeFromRawValue(u""), std::nullopt);
    EXPECT_EQ(agentPermissionModeFromRawValue({}), std::nullopt);
}

TEST(AgentPermissionMode, hasALabel)
{
    EXPECT_EQ(label(AgentPermissionMode::askPermissions), QStringLiteral("Ask permissions"));
    EXPECT_EQ(label(AgentPermissionMode::autoAcceptEdits), QStringLiteral("Auto accept edits"));
    EXPECT_EQ(label(AgentPermissionMode::planMode), QStringLiteral("Plan mode"));
    EXPECT_EQ(label(AgentPermissionMode::bypassPermissions), QStringLiteral("Bypass permissions"));
}

TEST(AgentPermissionMode, hasADescription)
{
    EXPECT_EQ(description(AgentPermissionMode::askPermissions), QStringLiteral("Always ask before making changes"));
    EXPECT_EQ(description(AgentPermissionMode::autoAcceptEdits), QStringLiteral("Automatically accept all file edits"));
    EXPECT_EQ(description(AgentPermissionMode::planMode), QStringLiteral("Create a plan before making changes"));
    EXPECT_EQ(description(AgentPermissionMode::bypassPermissions), QStringLiteral("Accepts all permissions"));
}

TEST(AgentPermissionMode, hasASymbol)
{
    EXPECT_EQ(symbol(AgentPermissionMode::askPermissions), QStringLiteral("hand.raised"));
    EXPECT_EQ(symbol(AgentPermissionMode::autoAcceptEdits), QStringLiteral("chevron.left.forwardslash.chevron.right"));
    EXPECT_EQ(symbol(AgentPermissionMode::planMode), QStringLiteral("doc.text.below.ecg"));
    EXPECT_EQ(symbol(AgentPermissionMode::bypassPermissions), QStringLiteral("exclamationmark.triangle"));
}

TEST(AgentPermissionMode, hasALaunchArgumentUnlessTheAgentAsks)
{
    EXPECT_EQ(launchArgument(AgentPermissionMode::askPermissions), std::nullopt);
    EXPECT_EQ(launchArgument(AgentPermissionMode::autoAcceptEdits), QStringLiteral("--allowedTools '*'"));
    EXPECT_EQ(launchArgument(AgentPermissionMode::planMode), QStringLiteral("--plan"));
    EXPECT_EQ(launchArgument(AgentPermissionMode::bypassPermissions), QStringLiteral("--dangerously-skip-permissions"));
}

TEST(AgentLaunchFlags, askByDefault)
{
    EXPECT_EQ(AgentLaunchFlags {}.permissionMode, AgentPermissionMode::askPermissions);
    EXPECT_NE(AgentLaunchFlags {}, AgentLaunchFlags { AgentPermissionMode::planMode });
}

} // namespace vantry::test
