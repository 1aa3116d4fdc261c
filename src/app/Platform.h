#pragma once

#include "base/Paths.h"
#include "platform/ControlClient.h"
#include "platform/ControlEndpoint.h"
#include "platform/ListeningPorts.h"
#include "platform/PeerIdentity.h"
#include "platform/ProcessTable.h"

#include <memory>

namespace vantry::platform {

// The ports of the system that the program is built for. The one place that knows their concrete types.

[[nodiscard]] std::unique_ptr<ControlClient> makeControlClient();
[[nodiscard]] std::unique_ptr<ControlEndpoint> makeControlEndpoint();
[[nodiscard]] std::unique_ptr<ListeningPorts> makeListeningPorts();
[[nodiscard]] std::unique_ptr<PeerIdentity> makePeerIdentity();
[[nodiscard]] std::unique_ptr<ProcessTable> makeProcessTable(const Paths &paths);
/// Whether windows can be shown.
[[nodiscard]] bool hasDisplay();

} // namespace vantry::platform
