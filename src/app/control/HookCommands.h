#pragma once

#include "app/CommandLine.h"
#include "app/control/Console.h"
#include "hooks/HookInstaller.h"

#include <cstdint>

namespace vantry {

// The commands about the agent's hook. Each prints and gives the exit code.

[[nodiscard]] int runHookInstall(const command::HookInstall &command, const HookInstaller &installer,
                                 std::uint16_t port, Console &console);
/// "Refused" when the hook is not installed.
[[nodiscard]] int runHookStatus(const command::HookStatus &command, const HookInstaller &installer, Console &console);

} // namespace vantry
