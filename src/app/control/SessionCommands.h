#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "base/Scheduler.h"
#include "platform/ControlClient.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <variant>

namespace vantry {

// The commands that ask the running application. Each prints and gives the exit code. Main thread only.

/// The one of these identifiers that the user means: the whole one, else the one that begins so. Otherwise what is
/// wrong, one line for each error line.
[[nodiscard]] std::variant<QString, QStringList> chooseSession(const QStringList &ids, const QString &given);

/// Says that there is no list to show; scripts get the document that tells that nothing is running.
[[nodiscard]] int printNoList(const ControlFailure &failure, OutputForm form, Console &console, std::uint16_t port);

[[nodiscard]] int runStatus(const command::Status &command, ControlClient &client, Console &console,
                            std::uint16_t port);

[[nodiscard]] int runAllow(const command::Allow &command, ControlClient &client, Console &console);
[[nodiscard]] int runDeny(const command::Deny &command, ControlClient &client, Console &console);
[[nodiscard]] int runAlwaysAllow(const command::AlwaysAllow &command, ControlClient &client, Console &console);
[[nodiscard]] int runKill(const command::Kill &command, ControlClient &client, Console &console);

/// Waits in an event loop, some seconds at most, until the application has gone.
[[nodiscard]] int runQuit(ControlClient &client, Console &console, Scheduler &scheduler);

} // namespace vantry
