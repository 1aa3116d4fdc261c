#pragma once

#include "terminal/TerminalBridge.h"

#include <QString>

#include <optional>

namespace vantry {

/// What is known of the agent's own options.
struct AgentOptions
{
    bool hasPermissionMode { false }; ///< It knows `--permission-mode`, which took the place of older options.

    /// From what the agent prints about its options; without that, the older ones.
    [[nodiscard]] static AgentOptions fromHelp(const std::optional<QString> &help);
};

/// Whether the command line for this mode is another when the agent has other options.
[[nodiscard]] bool dependsOnOptions(AgentPermissionMode mode);

/// The line that starts an agent in a project's directory, for a POSIX shell.
[[nodiscard]] QString agentCommandLine(const QString &projectPath, const TerminalBridge::LaunchMode &mode,
                                       AgentPermissionMode permissionMode, const std::optional<QString> &prompt,
                                       AgentOptions options);

} // namespace vantry
