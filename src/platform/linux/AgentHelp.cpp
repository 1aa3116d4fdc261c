#include "platform/linux/AgentHelp.h"

#include "base/Subprocess.h"
#include "platform/linux/LoginShell.h"

#include <QDir>
#include <QFileInfo>

namespace vantry {

std::optional<QString> agentHelp()
{
    return agentHelp(loginShell(), QDir::homePath());
}

std::optional<QString> agentHelp(const QString &shell, const QString &home)
{
    Subprocess process;
    process.executable = shell;
    // csh takes -l only by itself.
    if (!QFileInfo(shell).fileName().endsWith(u"csh"))
        process.arguments += QStringLiteral("-l");
    process.arguments += { QStringLiteral("-i"), QStringLiteral("-c"), QStringLiteral("claude --help") };
    process.workingDirectory = QStringLiteral("/");
    process.removedVariables = variablesNotForShells();
    process.addedVariables = { { QStringLiteral("HOME"), home } };
    const Subprocess::Result result = process.run();
    if (result.exitStatus != 0)
        return std::nullopt;
    return QString::fromUtf8(result.standardOutput);
}

} // namespace vantry
