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

namespace {

class NoApplications final : public Applications
{
public:
    [[nodiscard]] QSet<QString> runningNames() const override { return {}; }
    bool activate(const QString &) override { return false; }
    bool activateBundle(const QString &) override { return false; }
    bool raise(WindowID) override { return false; }
    [[nodiscard]] std::optional<WindowID> windowOf(std::int64_t) const override { return std::nullopt; }
};

class NoScripts final : public ScriptHost
{
public:
    explicit NoScripts(MainQueue &mainQueue)
        : m_mainQueue(mainQueue)
    {}
    void run(const AppleScript &, Done done) override { refuse(std::move(done)); }
    void runTool(const QString &, const QStringList &, Done done) override { refuse(std::move(done)); }

private:
    void refuse(Done done)
    {
        m_mainQueue.post([done = std::move(done)] {
            done({ .launchError = std::nullopt, .unsupported = QStringLiteral("scripts are not run here") });
        });
    }

    MainQueue &m_mainQueue;
};

} // namespace

std::unique_ptr<Applications> makeApplications(ProcessTable &)
{
    return std::make_unique<NoApplications>();
}

std::unique_ptr<ScriptHost> makeScriptHost(Applications &, MainQueue &mainQueue)
{
    return std::make_unique<NoScripts>(mainQueue);
}

std::vector<std::unique_ptr<TerminalDriver>> makeTerminalDrivers(Applications &, ProcessTable &)
{
    return {};
}

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace vantry::platform
