#include "hooks/HookInstaller.h"

#include "hooks/HookSettings.h"
#include "hooks/UserFile.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <optional>
#include <string>
#include <utility>

/// A static library's resources are linked only when they are asked for. The macro does not work in a namespace.
static void linkResources()
{
    Q_INIT_RESOURCE(vantry_hook);
}

namespace vantry {
namespace {

constexpr unsigned scriptMode = 0755;

std::optional<QByteArray> readResource(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

} // namespace

HookInstallerError::HookInstallerError(Case reason)
    : std::runtime_error("Hook script not found in app bundle. Try reinstalling the app.")
    , m_case(reason)
{}

HookInstaller::HookInstaller(QString home, QString scriptSource)
    : m_home(std::move(home))
    , m_scriptSource(std::move(scriptSource))
{
    linkResources();
}

QString HookInstaller::scriptPath() const
{
    return m_home + QStringLiteral("/.claude/hooks/vantry_hook.py");
}

QString HookInstaller::settingsPath() const
{
    return m_home + QStringLiteral("/.claude/settings.json");
}

QString HookInstaller::install(std::uint16_t port) const
{
    try {
        installScript();
        updateSettings(port);
        return QStringLiteral("Hook installed. Restart Claude Code sessions to activate.");
    } catch (const std::exception &error) {
        return QStringLiteral("Install failed: ") + QString::fromUtf8(error.what());
    }
}

void HookInstaller::installScript() const
{
    makeFolderOf(scriptPath());
    const auto script = readResource(m_scriptSource);
    if (!script)
        throw HookInstallerError(HookInstallerError::Case::scriptNotFound);
    // The script is there at every moment: an agent takes the failure of a hook that is missing as a veto.
    replaceFile(scriptPath(), *script, scriptMode);
}

void HookInstaller::updateSettings(std::uint16_t port) const
{
    const auto withHook = [command = commandLine(port)](JsonText settings) {
        return settingsWithHook(std::move(settings), command);
    };
    makeFolderOf(settingsPath());
    if (!editJsonFile(settingsPath(), withHook) && !editJsonFile(settingsPath(), withHook))
        throw std::runtime_error(settingsPath().toStdString() +
                                 ": The file was changed by another program at the same time. Try again.");
}

std::string HookInstaller::commandLine(std::uint16_t port) const
{
    return "python3 " + scriptPath().toStdString() + " --port " + std::to_string(port);
}

bool HookInstaller::isInstalled() const
{
    if (!QFileInfo::exists(scriptPath()))
        return false;
    try {
        return settingsNameHook(readJsonFile(settingsPath()));
    } catch (const std::exception &) {
        return false;
    }
}

std::optional<HookInstaller::Problem> HookInstaller::problem(std::uint16_t port) const
{
    const QString install = QStringLiteral("Run \"vantry hook install\", and start running agents again");
    try {
        const JsonText settings = readJsonFile(settingsPath());
        const auto missing = eventsWithoutHook(settings, commandLine(port));
        if (!QFileInfo::exists(scriptPath()) || (!missing.empty() && !settingsNameHook(settings)))
            return Problem { QStringLiteral("The agent's hook is not installed"), install };
        if (!isCurrent())
            return Problem { QStringLiteral("The agent's hook is from another version"), install };
        if (!missing.empty()) {
            return Problem { QStringLiteral(
                                 "The agent's settings name the hook in another form for %1 of its events, such as %2")
                                 .arg(missing.size())
                                 .arg(QString::fromLatin1(missing.front().data(), qsizetype(missing.front().size()))),
                             install };
        }
        const JsonText *isDisabled = settings.find("disableAllHooks");
        if (isDisabled && isDisabled->asBoolean().value_or(false))
            return Problem { QStringLiteral("The agent's settings turn off all hooks"),
                             QStringLiteral("Take \"disableAllHooks\" out of ") + settingsPath() };
    } catch (const std::exception &error) {
        return Problem { QStringLiteral("The agent's settings can't be read: ") + QString::fromUtf8(error.what()),
                         QStringLiteral("Mend that file, then run \"vantry hook install\"") };
    }
    return std::nullopt;
}

bool HookInstaller::isCurrent() const
{
    try {
        const auto installed = readRegularFile(scriptPath());
        const auto delivered = readResource(m_scriptSource);
        return installed && delivered && *installed == *delivered;
    } catch (const std::exception &) {
        return false;
    }
}

} // namespace vantry
