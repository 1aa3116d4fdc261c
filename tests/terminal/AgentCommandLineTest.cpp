#include "terminal/AgentCommandLine.h"

#include "TerminalBridgeFixture.h"

namespace vantry::test {
namespace {

using Mode = AgentPermissionMode;

QString line(const TerminalBridge::LaunchMode &mode, Mode permissionMode, const std::optional<QString> &prompt = {},
             bool hasPermissionMode = false)
{
    return agentCommandLine(u"/p"_s, mode, permissionMode, prompt, { .hasPermissionMode = hasPermissionMode });
}

TEST(AgentCommandLine, joinsItsPieces)
{
    EXPECT_EQ(line(TerminalBridge::Fresh {}, Mode::askPermissions), u"cd '/p' && claude"_s);
    EXPECT_EQ(line(TerminalBridge::ContinueLatest {}, Mode::planMode), u"cd '/p' && claude --continue --plan"_s);
    EXPECT_EQ(line(TerminalBridge::Resume { u"abc"_s }, Mode::bypassPermissions),
              u"cd '/p' && claude --resume 'abc' --dangerously-skip-permissions"_s);
    EXPECT_EQ(line(TerminalBridge::Fresh {}, Mode::autoAcceptEdits, u"hi"_s),
              u"cd '/p' && claude --allowedTools '*' -p 'hi'"_s);
}

TEST(AgentCommandLine, leavesOutAnEmptyPrompt)
{
    EXPECT_EQ(line(TerminalBridge::Fresh {}, Mode::askPermissions, QString()), u"cd '/p' && claude"_s);
}

TEST(AgentCommandLine, quotesEachWordForTheShell)
{
    EXPECT_EQ(agentCommandLine(u"/a'b"_s, TerminalBridge::Resume { u"'; rm x; '"_s }, Mode::askPermissions,
                               u"$(x) `y` \"z\" \\ ''"_s, {}),
              u"cd '/a'\\''b' && claude --resume ''\\''; rm x; '\\''' -p '$(x) `y` \"z\" \\ '\\'''\\'''"_s);
}

TEST(AgentCommandLine, usesTheNewerOptionWhereTheAgentHasIt)
{
    EXPECT_EQ(line(TerminalBridge::Fresh {}, Mode::planMode, {}, true), u"cd '/p' && claude --permission-mode plan"_s);
    EXPECT_EQ(line(TerminalBridge::ContinueLatest {}, Mode::autoAcceptEdits, {}, true),
              u"cd '/p' && claude --continue --permission-mode acceptEdits"_s);
    EXPECT_EQ(line(TerminalBridge::Fresh {}, Mode::bypassPermissions, {}, true),
              u"cd '/p' && claude --dangerously-skip-permissions"_s);
    EXPECT_EQ(line(TerminalBridge::Fresh {}, Mode::askPermissions, {}, true), u"cd '/p' && claude"_s);
}

TEST(AgentCommandLine, findsTheNewerOptionInTheAgentsHelp)
{
    EXPECT_TRUE(
        AgentOptions::fromHelp(u"  --model <model>\n  --permission-mode <mode>  Permission mode"_s).hasPermissionMode);
    EXPECT_FALSE(AgentOptions::fromHelp(u"  --plan\n"_s).hasPermissionMode);
    EXPECT_FALSE(AgentOptions::fromHelp(QString()).hasPermissionMode);
    EXPECT_FALSE(AgentOptions::fromHelp(std::nullopt).hasPermissionMode);
}

TEST(AgentCommandLine, dependsOnTheAgentsOptionsForTwoModes)
{
    EXPECT_TRUE(dependsOnOptions(Mode::planMode) && dependsOnOptions(Mode::autoAcceptEdits));
    EXPECT_FALSE(dependsOnOptions(Mode::askPermissions) || dependsOnOptions(Mode::bypassPermissions));
}

} // namespace
} // namespace vantry::test
