#include "app/Platform.h"

#include "platform/linux/DBusControlClient.h"
#include "platform/linux/DBusControlEndpoint.h"
#include "platform/linux/LinuxListeningPorts.h"
#include "platform/linux/LinuxPeerIdentity.h"
#include "platform/linux/LinuxProcessTable.h"

namespace vantry::platform {

std::unique_ptr<ControlClient> makeControlClient()
{
    return std::make_unique<DBusControlClient>();
}

std::unique_ptr<ControlEndpoint> makeControlEndpoint()
{
    return std::make_unique<DBusControlEndpoint>();
}

std::unique_ptr<ListeningPorts> makeListeningPorts()
{
    return std::make_unique<LinuxListeningPorts>();
}

std::unique_ptr<PeerIdentity> makePeerIdentity()
{
    return std::make_unique<LinuxPeerIdentity>();
}

std::unique_ptr<ProcessTable> makeProcessTable(const Paths &paths)
{
    return std::make_unique<LinuxProcessTable>(paths.dataFolder);
}

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace vantry::platform
