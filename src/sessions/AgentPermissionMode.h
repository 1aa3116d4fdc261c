#pragma once

#include <QString>

#include <array>
#include <optional>

namespace vantry {

/// How much a launched agent asks. The raw value equals the case's name.
enum class AgentPermissionMode { askPermissions, autoAcceptEdits, planMode, bypassPermissions };

inline constexpr std::array allAgentPermissionModes { AgentPermissionMode::askPermissions,
                                                      AgentPermissionMode::autoAcceptEdits,
                                                      AgentPermissionMode::planMode,
                                                      AgentPermissionMode::bypassPermissions };

[[nodiscard]] QString rawValue(AgentPermissionMode mode);
[[nodiscard]] std::optional<AgentPermissionMode> agentPermissionModeFromRawValue(QStringView raw);
[[nodiscard]] QString label(AgentPermissionMode mode);
[[nodiscard]] QString description(AgentPermissionMode mode);
/// The symbol's name, as the style's symbols know it.
[[nodiscard]] QString symbol(AgentPermissionMode mode);
/// What the agent's command line gets for this mode; nothing for `askPermissions`.
[[nodiscard]] std::optional<QString> launchArgument(AgentPermissionMode mode);

/// What the project screen hands to the launcher.
struct AgentLaunchFlags
{
    AgentPermissionMode permissionMode { AgentPermissionMode::askPermissions };

    friend bool operator==(const AgentLaunchFlags &, const AgentLaunchFlags &) = default;
};

} // namespace vantry
