#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace vantry {

class HookInstallerError final : public std::runtime_error
{
public:
    enum class Case { scriptNotFound };

    explicit HookInstallerError(Case reason);
    [[nodiscard]] Case reason() const { return m_case; }

private:
    Case m_case;
};

/// Connects the agent to Vantry: puts the hook script into the agent's folder and names it in the agent's settings for
/// every event. Everything in the settings that is not ours is kept, value for value. Has no state and logs nothing;
/// file operations happen on the calling thread.
class HookInstaller
{
public:
    /// What keeps the hook from working as this program wants it, and what to do about it.
    struct Problem
    {
        QString detail;
        QString advice;
    };

    /// `home` is the user's home directory; `scriptSource` the script as it is delivered with the program.
    HookInstaller(QString home, QString scriptSource = QStringLiteral(":/vantry/vantry_hook.py"));

    /// Installs or renews the hook, and gives the message for the user. Never throws.
    [[nodiscard]] QString install(std::uint16_t port) const;
    /// Whether the script is there and the settings name it. Every problem is simply false.
    [[nodiscard]] bool isInstalled() const;
    /// Whether the installed script is the one that this program delivers.
    [[nodiscard]] bool isCurrent() const;
    /// Looks closer than these two: at every event, its command line for this port, and the settings as a whole.
    [[nodiscard]] std::optional<Problem> problem(std::uint16_t port) const;

    [[nodiscard]] QString scriptPath() const;
    [[nodiscard]] QString settingsPath() const;

private:
    void installScript() const;
    void updateSettings(std::uint16_t port) const;
    [[nodiscard]] std::string commandLine(std::uint16_t port) const;

    QString m_home;
    QString m_scriptSource;
};

} // namespace vantry
