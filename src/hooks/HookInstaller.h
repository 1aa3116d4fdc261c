#pragma once

#include <QString>

#include <cstdint>
#include <stdexcept>

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
    /// `home` is the user's home directory; `scriptSource` the script as it is delivered with the program.
    HookInstaller(QString home, QString scriptSource = QStringLiteral(":/vantry/vantry_hook.py"));

    /// Installs or renews the hook, and gives the message for the user. Never throws.
    [[nodiscard]] QString install(std::uint16_t port) const;
    /// Whether the script is there and the settings name it. Every problem is simply false.
    [[nodiscard]] bool isInstalled() const;
    /// Whether the installed script is the one that this program delivers.
    [[nodiscard]] bool isCurrent() const;

    [[nodiscard]] QString scriptPath() const;
    [[nodiscard]] QString settingsPath() const;

private:
    void installScript() const;
    void updateSettings(std::uint16_t port) const;

    QString m_home;
    QString m_scriptSource;
};

} // namespace vantry
