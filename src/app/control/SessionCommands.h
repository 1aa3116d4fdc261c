#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "base/Clock.h"
#include "base/Paths.h"
#include "base/Scheduler.h"
#include "platform/ControlClient.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace vantry {

// The commands that ask the running application. Each prints and gives the exit code. Main thread only.

/// The user's word for a session, looked up.
struct SessionChoice
{
    std::optional<QString> id; ///< The whole identifier.
    QString reason;            ///< Why there is none; one line for a person.
    bool fitsSeveral { false };
};

/// The one of these identifiers that the user means: the whole one, else the only one that begins so.
[[nodiscard]] SessionChoice chooseSession(const QStringList &ids, const QString &given);

/// Says that there is no list to show; scripts get the document that tells that nothing is running.
[[nodiscard]] int printNoList(const ControlFailure &failure, OutputForm form, Console &console, std::uint16_t port);

[[nodiscard]] int runStatus(const command::Status &command, ControlClient &client, Console &console,
                            std::uint16_t port);

[[nodiscard]] int runAllow(const command::Allow &command, ControlClient &client, Console &console);
[[nodiscard]] int runDeny(const command::Deny &command, ControlClient &client, Console &console);
[[nodiscard]] int runAlwaysAllow(const command::AlwaysAllow &command, ControlClient &client, Console &console);
[[nodiscard]] int runAnswer(const command::Answer &command, ControlClient &client, Console &console);
[[nodiscard]] int runSend(const command::Send &command, ControlClient &client, Console &console);
[[nodiscard]] int runFocus(const command::Focus &command, ControlClient &client, Console &console);
[[nodiscard]] int runKill(const command::Kill &command, ControlClient &client, Console &console);

/// The session to resume is looked for among the remembered ones, too; a whole identifier that is unknown here may
/// still be known to the agent.
[[nodiscard]] int runLaunch(const command::Launch &command, ControlClient &client, const Paths &paths, Console &console,
                            const Clock &clock);

[[nodiscard]] int runShow(ControlClient &client, Console &console);
[[nodiscard]] int runSettings(ControlClient &client, Console &console);

/// Waits in an event loop, some seconds at most, until the application has gone.
[[nodiscard]] int runQuit(ControlClient &client, Console &console, Scheduler &scheduler);

} // namespace vantry
