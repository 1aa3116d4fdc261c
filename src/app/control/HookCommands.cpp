#include "app/control/HookCommands.h"

#include "app/control/SessionJson.h"

namespace vantry {

using namespace Qt::StringLiterals;

int runHookInstall(const command::HookInstall &command, const HookInstaller &installer, std::uint16_t port,
                   Console &console)
{
    const QString message = installer.install(port);
    // A failed renewal leaves the older hook in place: what was asked for has failed all the same.
    const bool hasFailed = message.startsWith(u"Install failed"_s);
    if (command.form == OutputForm::Json)
        console.print(jsonLine(Json { { "installed", installer.isInstalled() }, { "message", jsonString(message) } }) +
                      '\n');
    else if (!hasFailed)
        console.print(message.toStdString() + '\n');
    if (hasFailed)
        console.printError(message.toStdString());
    return hasFailed ? exitCode::refused : exitCode::done;
}

int runHookStatus(const command::HookStatus &command, const HookInstaller &installer, Console &console)
{
    const bool isInstalled = installer.isInstalled();
    if (!isInstalled)
        console.printError("the hook is not installed; install it with \"vantry hook install\"");
    if (command.form == OutputForm::Json)
        console.print(jsonLine(Json { { "installed", isInstalled } }) + '\n');
    else if (isInstalled && !installer.isCurrent())
        console.print("The hook is installed, from another version. Renew it with \"vantry hook install\".\n");
    else if (isInstalled)
        console.print("The hook is installed.\n");
    return isInstalled ? exitCode::done : exitCode::refused;
}

} // namespace vantry
