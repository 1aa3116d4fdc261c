#pragma once

#include <QString>

#include <array>
#include <optional>

namespace vantry {

/// The agents known by name. Hook events carry no agent name: every session made from one is `claudeCode`; `codex` and
/// `aider` are reserved for theirs.
enum class AgentTool { claudeCode, codex, aider, unknown };

inline constexpr std::array allAgentTools { AgentTool::claudeCode, AgentTool::codex, AgentTool::aider,
                                            AgentTool::unknown };

/// "claude-code", "codex", "aider", "unknown": what goes into JSON and the store.
[[nodiscard]] QString rawValue(AgentTool tool);
[[nodiscard]] std::optional<AgentTool> agentToolFromRawValue(QStringView raw);
/// "Claude Code", "Codex", "Aider", "Unknown".
[[nodiscard]] QString displayName(AgentTool tool);
/// The symbol's name, as the style's symbols know it.
[[nodiscard]] QString symbol(AgentTool tool);

} // namespace vantry
