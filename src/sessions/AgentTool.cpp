#include "sessions/AgentTool.h"

namespace vantry {

QString rawValue(AgentTool tool)
{
    switch (tool) {
    case AgentTool::claudeCode:
        return QStringLiteral("claude-code");
    case AgentTool::codex:
        return QStringLiteral("codex");
    case AgentTool::aider:
        return QStringLiteral("aider");
    case AgentTool::unknown:
        return QStringLiteral("unknown");
    }
    return {};
}

std::optional<AgentTool> agentToolFromRawValue(QStringView raw)
{
    for (const AgentTool tool : allAgentTools) {
        if (rawValue(tool) == raw)
            return tool;
    }
    return std::nullopt;
}

QString displayName(AgentTool tool)
{
    switch (tool) {
    case AgentTool::claudeCode:
        return QStringLiteral("Claude Code");
    case AgentTool::codex:
        return QStringLiteral("Codex");
    case AgentTool::aider:
        return QStringLiteral("Aider");
    case AgentTool::unknown:
        return QStringLiteral("Unknown");
    }
    return {};
}

QString symbol(AgentTool tool)
{
    switch (tool) {
    case AgentTool::claudeCode:
        return QStringLiteral("terminal");
    case AgentTool::codex:
        return QStringLiteral("sparkles");
    case AgentTool::aider:
        return QStringLiteral("text.bubble");
    case AgentTool::unknown:
        return QStringLiteral("questionmark");
    }
    return {};
}

} // namespace vantry
