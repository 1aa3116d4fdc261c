#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "base/Clock.h"
#include "base/Paths.h"
#include "platform/ControlClient.h"

namespace vantry {

// The commands that read the agent's transcripts. They need no running application. Each prints and gives the exit
// code: nothing found is a result, too.

/// The argument is a file if it names a regular one, else a session; of a session that the database doesn't know, the
/// running application is asked.
[[nodiscard]] int runMessages(const command::Messages &command, const Paths &paths, ControlClient &client,
                              Console &console, const Clock &clock);
[[nodiscard]] int runProjects(const command::Projects &command, const Paths &paths, Console &console,
                              const Clock &clock);

} // namespace vantry
