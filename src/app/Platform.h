#pragma once

#include "base/MainQueue.h"
#include "base/Paths.h"
#include "platform/Applications.h"
#include "platform/ControlClient.h"
#include "platform/ControlEndpoint.h"
#include "platform/ListeningPorts.h"
#include "platform/PeerIdentity.h"
#include "platform/ProcessTable.h"
#include "platform/ScriptHost.h"
#include "platform/TerminalDriver.h"

#include <memory>
#include <vector>

namespace vantry::platform {

// The ports of the system that the program is built for. The one place that knows their concrete types.

[[nodiscard]] std::unique_ptr<ControlClient> makeControlClient();
[[nodiscard]] std::unique_ptr<ControlEndpoint> makeControlEndpoint();
[[nodiscard]] std::unique_ptr<ListeningPorts> makeListeningPorts();
[[nodiscard]] std::unique_ptr<PeerIdentity> makePeerIdentity();
[[nodiscard]] std::unique_ptr<ProcessTable> makeProcessTable(const Paths &paths);
[[nodiscard]] std::unique_ptr<Applications> makeApplications(ProcessTable &processes);
[[nodiscard]] std::unique_ptr<ScriptHost> makeScriptHost(Applications &applications, MainQueue &mainQueue);
/// In the order in which they are asked. What is given must outlive them.
[[nodiscard]] std::vector<std::unique_ptr<TerminalDriver>> makeTerminalDrivers(Applications &applications,
                                                                               ProcessTable &processes);
/// Whether windows can be shown.
[[nodiscard]] bool hasDisplay();

} // namespace vantry::platform
