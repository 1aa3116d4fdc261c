#pragma once

#include "app/control/Doctor.h"
#include "base/Paths.h"
#include "platform/ControlClient.h"
#include "platform/ListeningPorts.h"
#include "platform/NotificationCentre.h"
#include "platform/PeerIdentity.h"
#include "platform/SecretStore.h"
#include "platform/SoundPlayer.h"
#include "platform/TerminalDriver.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <future>
#include <optional>
#include <variant>
#include <vector>

namespace vantry {

/// Looks at everything that Vantry leans on, without changing it. Each operation is one check, which may start programs
/// or wait for an answer, some seconds at most. Any thread; several at the same time.
class DoctorChecks
{
public:
    /// What is asked of the desktop. Each waits for its answer; any thread.
    struct Desktop
    {
        bool hasDisplay { false };
        std::function<bool()> canPlaceWindows { [] { return false; } };
        std::function<bool()> hasTray { [] { return false; } };
        std::function<NotificationCentre::Server()> notificationServer { [] { return NotificationCentre::Server(); } };
        std::function<std::optional<SoundPlayer::Problem>()> soundProblem { [] { return std::nullopt; } };
        /// Why there is none, if so.
        std::function<std::optional<QString>()> microphoneProblem { [] { return std::nullopt; } };
        /// What is missing for recognising speech, if anything.
        std::function<std::optional<QString>()> speechProblem { [] { return std::nullopt; } };
        std::function<std::optional<SecretStore::Problem>()> secretStoreProblem { [] { return std::nullopt; } };
    };

    struct Surroundings
    {
        const Paths &paths;
        ControlClient &client; ///< Asked by one of the checks' threads while the main one waits for them.
        PeerIdentity &peers;
        const ListeningPorts &ports;
        QStringList searchPath {}; ///< The folders in which programs are looked for; empty: $PATH.
        std::uint16_t port;
        /// Finds a tool also where it is not on the path. Waits for programs.
        std::function<std::optional<QString>(const QString &)> findTool { [](const QString &) {
            return std::nullopt;
        } };
        std::vector<TerminalDriver *> terminals {};
        Desktop desktop {};
    };

    explicit DoctorChecks(const Surroundings &surroundings);

    /// All of the following, to be looked at together. Not after these checks have ended.
    [[nodiscard]] std::vector<DoctorInspection> inspections() const;

    [[nodiscard]] DoctorCheck application() const;
    [[nodiscard]] DoctorCheck listener() const;
    [[nodiscard]] DoctorCheck sessionBus() const;
    [[nodiscard]] DoctorCheck hook() const;
    [[nodiscard]] DoctorCheck python() const;
    [[nodiscard]] DoctorCheck agent() const;
    [[nodiscard]] DoctorCheck git() const;
    [[nodiscard]] DoctorCheck peerIdentity() const;

    [[nodiscard]] DoctorCheck dataFolder() const;
    [[nodiscard]] DoctorCheck database() const;
    [[nodiscard]] DoctorCheck log() const;
    [[nodiscard]] DoctorCheck settings() const;
    [[nodiscard]] DoctorCheck autostart() const;

    [[nodiscard]] DoctorCheck display() const;
    [[nodiscard]] DoctorCheck tray() const;
    [[nodiscard]] DoctorCheck notch() const;
    [[nodiscard]] DoctorCheck notifications() const;
    [[nodiscard]] DoctorCheck sound() const;
    [[nodiscard]] DoctorCheck microphone() const;
    [[nodiscard]] DoctorCheck speech() const;
    [[nodiscard]] DoctorCheck secretService() const;

    /// One for each terminal that could be driven and is installed, or one when there is none.
    [[nodiscard]] QList<DoctorCheck> terminalPrograms() const;
    /// One for all live sessions whose terminals can be driven or have nothing to be driven, and one for each that
    /// can't be.
    [[nodiscard]] QList<DoctorCheck> terminals() const;

private:
    using Reply = std::variant<QString, ControlFailure>;

    /// What the running application said, which is asked once.
    [[nodiscard]] Reply status() const;
    [[nodiscard]] QString find(const QString &program) const;
    /// Where the desktop's programs keep their settings.
    [[nodiscard]] QString configFolder() const;
    [[nodiscard]] DoctorCheck tmux(const QString &program) const;
    [[nodiscard]] DoctorCheck kitty() const;
    [[nodiscard]] DoctorCheck konsole() const;

    Surroundings m_surroundings;
    std::shared_future<Reply> m_status;
};

/// The first line of what `PROGRAM ARGUMENTS` prints; nothing when it fails, or takes too long. Any thread.
[[nodiscard]] std::optional<QString> firstLineOf(const QString &program, const QStringList &arguments);

} // namespace vantry
