#include "sessions/AgentTool.h"

#include <gmock/gmock.h>

namespace vantry::test {

TEST(AgentTool, hasTheRawValuesOfTheStore)
{
    EXPECT_EQ(rawValue(AgentTool::claudeCode), QStringLiteral("claude-code"));
    EXPECT_EQ(rawValue(AgentTool::codex), QStringLiteral("codex"));
    EXPECT_EQ(rawValue(AgentTool::aider), QStringLiteral("aider"));
    EXPECT_EQ(rawValue(AgentTool::unknown), QStringLiteral("unknown"));
}

TEST(AgentTool, hasNamesForPeople)
{
    EXPECT_EQ(displayName(AgentTool::claudeCode), QStringLiteral("Claude Code"));
    EXPECT_EQ(displayName(AgentTool::codex), QStringLiteral("Codex"));
    EXPECT_EQ(displayName(AgentTool::aider), QStringLiteral("Aider"));
    EXPECT_EQ(displayName(AgentTool::unknown), QStringLiteral("Unknown"));
}

TEST(AgentTool, hasSymbols)
{
    EXPECT_EQ(symbol(AgentTool::claudeCode), QStringLiteral("terminal"));
    EXPECT_EQ(symbol(AgentTool::codex), QStringLiteral("sparkles"));
    EXPECT_EQ(symbol(AgentTool::aider), QStringLiteral("text.bubble"));
    EXPECT_EQ(symbol(AgentTool::unknown), QStringLiteral("questionmark"));
}

TEST(AgentTool, isListedInItsOrder)
{
    EXPECT_THAT(allAgentTools,
                ::testing::ElementsAre(AgentTool::claudeCode, AgentTool::codex, AgentTool::aider, AgentTool::unknown));
}

TEST(AgentTool, isReadFromItsRawValueAlone)
{
    for (const AgentTool tool : allAgentTools)
        EXPECT_EQ(agentToolFromRawValue(rawValue(tool)), tool);
    EXPECT_EQ(agentToolFromRawValue(u"Claude Code"), std::nullopt);
    EXPECT_EQ(agentToolFromRawValue(u"CODEX"), std::nullopt);
    EXPECT_EQ(agentToolFromRawValue(u""), std::nullopt);
    EXPECT_EQ(agentToolFromRawValue({}), std::nullopt);
}

} // namespace vantry::test
