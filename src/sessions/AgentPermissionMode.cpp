#include "sessions/AgentPermissionMode.h"

namespace vantry {

namespace {

struct Traits
{
    QStringView rawValue;
    QStringView label;
    QStringView description;
    QStringView symbol;
    QStringView launchArgument; ///< Null: none.
};

const Traits &traits(AgentPermissionMode mode)
{
    /// In the order of the modes.
    static constexpr std::array all {
        Traits { u"askPermissions", u"Ask permissions", u"Always ask before making changes", u"hand.raised", {} },
        Traits { u"autoAcceptEdits", u"Auto accept edits", u"Automatically accept all file edits",
                 u"chevron.left.forwardslash.chevron.right", u"--allowedTools '*'" },
        Traits { u"planMode", u"Plan mode", u"Create a plan before making changes", u"doc.text.below.ecg", u"--plan" },
        Traits { u"bypassPermissions", u"Bypass permissions", u"Accepts all permissions", u"exclamationmark.triangle",
                 u"--dangerously-skip-permissions" },
    };
    static_assert(all.size() == allAgentPermissionModes.size());
    return all.at(static_cast<std::size_t>(mode));
}

} // namespace

QString rawValue(AgentPermissionMode mode)
{
    return traits(mode).rawValue.toString();
}

std::optional<AgentPermissionMode> agentPermissionModeFromRawValue(QStringView raw)
{
    for (const AgentPermissionMode mode : allAgentPermissionModes) {
        if (traits(mode).rawValue == raw)
            return mode;
    }
    return std::nullopt;
}

QString label(AgentPermissionMode mode)
{
    return traits(mode).label.toString();
}

QString description(AgentPermissionMode mode)
{
    return traits(mode).description.toString();
}

QString symbol(AgentPermissionMode mode)
{
    return traits(mode).symbol.toString();
}

std::optional<QString> launchArgument(AgentPermissionMode mode)
{
    const QStringView argument = traits(mode).launchArgument;
    return argument.isNull() ? std::nullopt : std::optional(argument.toString());
}

} // namespace vantry
