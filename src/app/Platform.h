#pragma once

#include "base/MainQueue.h"
#include "base/Paths.h"
#include "base/WorkerPool.h"
#include "platform/Applications.h"
#include "platform/ControlClient.h"
#include "platform/ControlEndpoint.h"
#include "platform/ListeningPorts.h"
#include "platform/PeerIdentity.h"
#include "platform/ProcessTable.h"
#include "platform/ScriptHost.h"
#include "platform/TerminalDriver.h"

#include <QString>
#include <QUrl>

#include <memory>
#include <optional>
#include <vector>

namespace vantry::platform {

// The ports of the system that the program is built for. The one place that knows their concrete types.

/// The terminals that agents run in, and the applications around them. Ends in this order, backwards.
struct Terminals
{
    std::unique_ptr<Applications> applications;
    std::unique_ptr<WorkerPool> workers;
    std::unique_ptr<ScriptHost> scripts;
    std::vector<std::unique_ptr<TerminalDriver>> drivers; ///< In the order in which they are asked.

    [[nodiscard]] std::vector<TerminalDriver *> driverList() const;
};

[[nodiscard]] std::unique_ptr<ControlClient> makeControlClient();
[[nodiscard]] std::unique_ptr<ControlEndpoint> makeControlEndpoint();
[[nodiscard]] std::unique_ptr<ListeningPorts> makeListeningPorts();
[[nodiscard]] std::unique_ptr<PeerIdentity> makePeerIdentity();
[[nodiscard]] std::unique_ptr<ProcessTable> makeProcessTable(const Paths &paths);
[[nodiscard]] Terminals makeTerminals(const ProcessTable &processes, MainQueue &mainQueue);
/// What the agent prints about its options. Blocks; any thread but the main one.
[[nodiscard]] std::optional<QString> agentHelp();
/// Has the desktop open a URL; gives why it didn't. Blocks; any thread but the main one.
[[nodiscard]] std::optional<QString> openUrl(const QUrl &url);
/// Whether windows can be shown.
[[nodiscard]] bool hasDisplay();

} // namespace vantry::platform
