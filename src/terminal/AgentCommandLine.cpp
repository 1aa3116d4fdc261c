#include "terminal/AgentCommandLine.h"

namespace vantry {

namespace {

constexpr QStringView permissionModeOption = u"--permission-mode";

QString shellQuoted(QString text)
{
    return u'\'' + text.replace(u'\'', QStringLiteral("'\\''")) + u'\'';
}

QString pieceOf(const TerminalBridge::LaunchMode &mode)
{
    if (const auto *resume = std::get_if<TerminalBridge::Resume>(&mode))
        return u" --resume " + shellQuoted(resume->sessionID);
    return std::holds_alternative<TerminalBridge::ContinueLatest>(mode) ? QStringLiteral(" --continue") : QString();
}

/// The agent's own name for a mode that it can be started in by `--permission-mode`.
std::optional<QString> agentNameOf(AgentPermissionMode mode)
{
    switch (mode) {
    case AgentPermissionMode::autoAcceptEdits:
        return QStringLiteral("acceptEdits");
    case AgentPermissionMode::planMode:
        return QStringLiteral("plan");
    case AgentPermissionMode::askPermissions:
    case AgentPermissionMode::bypassPermissions:
        break;
    }
    return std::nullopt;
}

QString argumentOf(AgentPermissionMode mode, AgentOptions options)
{
    const auto name = agentNameOf(mode);
    return name && options.hasPermissionMode ? permissionModeOption + u' ' + *name
                                             : launchArgument(mode).value_or(QString());
}

} // namespace

AgentOptions AgentOptions::fromHelp(const std::optional<QString> &help)
{
    return { .hasPermissionMode = help && help->contains(permissionModeOption) };
}

bool dependsOnOptions(AgentPermissionMode mode)
{
    return agentNameOf(mode).has_value();
}

QString agentCommandLine(const QString &projectPath, const TerminalBridge::LaunchMode &mode,
                         AgentPermissionMode permissionMode, const std::optional<QString> &prompt, AgentOptions options)
{
    QString line = u"cd " + shellQuoted(projectPath) + u" && claude" + pieceOf(mode);
    if (const QString argument = argumentOf(permissionMode, options); !argument.isEmpty())
        line += u' ' + argument;
    if (prompt && !prompt->isEmpty())
        line += u" -p " + shellQuoted(*prompt);
    return line;
}

} // namespace vantry
