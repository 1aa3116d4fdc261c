#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "app/control/HealthProbe.h"
#include "app/control/SessionJson.h"
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
#include <optional>
#include <vector>

namespace vantry {

/// One thing that Vantry leans on, and whether it is in order.
struct DoctorCheck
{
    /// Whether sessions can be shown and answered without it.
    enum class Weight { Essential, Helpful };

    QString name {};
    bool ok { false };
    QString detail {};                ///< What was found; one line.
    std::optional<QString> advice {}; ///< What to do about it; nothing when all is well.
    Weight weight { Weight::Helpful };
};

/// Looks at everything that Vantry leans on, without changing it. Each operation is one check; the larger ones start
/// programs or wait for sockets, some seconds at most. Main thread only.
class DoctorChecks
{
public:
    struct Surroundings
    {
        const Paths &paths;
        ControlClient &client;
        PeerIdentity &peers;
        const ListeningPorts &ports;
        QStringList searchPath {}; ///< The folders in which programs are looked for.
        std::uint16_t port;
        std::vector<TerminalDriver *> terminals {};
        bool hasDisplay { false };
        bool canPlaceWindows { false };
        bool hasTray { false };
        NotificationCentre::Server notificationServer {};
        std::optional<SoundPlayer::Problem> soundProblem {};
        std::optional<QString> microphoneProblem {}; ///< Why there is none, if so.
        std::optional<QString> speechProblem {};     ///< What is missing for recognising speech, if anything.
        std::optional<SecretStore::Problem> secretStoreProblem {};
    };

    explicit DoctorChecks(const Surroundings &surroundings)
        : m_surroundings(surroundings)
    {}

    [[nodiscard]] QList<DoctorCheck> all() const;

    [[nodiscard]] DoctorCheck application() const;
    [[nodiscard]] DoctorCheck listener() const;
    [[nodiscard]] DoctorCheck sessionBus() const;
    [[nodiscard]] DoctorCheck hook() const;
    [[nodiscard]] DoctorCheck python() const;
    [[nodiscard]] DoctorCheck agent() const;
    [[nodiscard]] DoctorCheck git() const;
    [[nodiscard]] DoctorCheck database() const;
    [[nodiscard]] DoctorCheck dataFolder() const;
    [[nodiscard]] DoctorCheck log() const;
    [[nodiscard]] DoctorCheck peerIdentity() const;
    [[nodiscard]] DoctorCheck display() const;
    [[nodiscard]] DoctorCheck tray() const;
    [[nodiscard]] DoctorCheck notch() const;
    [[nodiscard]] DoctorCheck microphone() const;
    [[nodiscard]] DoctorCheck speech() const;
    [[nodiscard]] DoctorCheck secretService() const;
    [[nodiscard]] DoctorCheck notifications() const;
    [[nodiscard]] DoctorCheck sound() const;
    /// One for all live sessions whose terminals can be driven or have nothing to be driven, and one for each that
    /// can't be.
    [[nodiscard]] QList<DoctorCheck> terminals() const;

private:
    [[nodiscard]] QString find(const QString &program) const;

    Surroundings m_surroundings;
};

[[nodiscard]] Json doctorJson(const QList<DoctorCheck> &checks);
[[nodiscard]] QString doctorText(const QList<DoctorCheck> &checks, const TextStyle &style);
/// Prints the checks. "Refused" when an essential one has failed.
[[nodiscard]] int printDoctor(const command::Doctor &command, const QList<DoctorCheck> &checks, Console &console);

} // namespace vantry
