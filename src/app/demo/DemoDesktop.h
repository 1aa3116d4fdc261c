#pragma once

#include "base/MainQueue.h"
#include "platform/Applications.h"
#include "platform/ControlEndpoint.h"
#include "platform/LoginItem.h"
#include "platform/PeerIdentity.h"
#include "platform/ProcessTable.h"
#include "platform/ScriptHost.h"
#include "platform/TerminalDriver.h"

#include <QHash>
#include <QString>

#include <functional>

namespace vantry::demo {

// The machine around the invented agents: everything that the application asks for is answered from here, so that
// nothing of the user's is touched.

/// The agents' processes, whose identifiers are beyond those of a real machine.
class Processes final : public ProcessTable
{
public:
    static constexpr std::int64_t firstPid { 0x40000000 };

    std::function<void(std::int64_t pid)> onTerminate; ///< On the thread that calls.

    void add(std::int64_t pid) { m_running.insert(pid); }

    [[nodiscard]] std::optional<double> startTime(std::int64_t pid) const override;
    [[nodiscard]] std::optional<std::int64_t> parent(std::int64_t) const override { return std::nullopt; }
    [[nodiscard]] std::optional<QString> commandName(std::int64_t) const override { return std::nullopt; }
    Signalled terminate(std::int64_t pid, double startTime) override;

private:
    QSet<std::int64_t> m_running;
};

class Peers final : public PeerIdentity
{
public:
    [[nodiscard]] Peer identify(int) override { return Peer::Foreign; }
};

/// Nobody is told anything, and no name is taken.
class Endpoint final : public ControlEndpoint
{
public:
    Publication publish(ControlRequests &) override { return Publication::Published; }
    void withdraw() override {}
    void announceChanged(const QString &) override {}
    void announceRemoved(const QString &) override {}
    void announceListening(bool) override {}
    void announceBackfill(std::uint32_t, std::uint32_t) override {}
};

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
    void run(const AppleScript &, Done done) override { done({}); }
    void runTool(const QString &, const QStringList &, Done done) override { done({}); }
};

/// Vantry starts at nobody's login: it only seems so while this runs.
class NoLoginItem final : public LoginItem
{
public:
    [[nodiscard]] bool isEnabled() const override { return m_isEnabled; }
    [[nodiscard]] std::optional<QString> setEnabled(bool isEnabled) override
    {
        m_isEnabled = isEnabled;
        return std::nullopt;
    }
    void setOnChanged(std::function<void()>) override {}

private:
    bool m_isEnabled { false };
};

/// The terminal in which the agents seem to run. Its identifiers are those of the sessions.
class Terminal final : public TerminalDriver
{
public:
    explicit Terminal(MainQueue &mainQueue)
        : m_mainQueue(mainQueue)
    {}

    // Called on the main thread.
    std::function<void(const QString &sessionID, const QString &line)> onLine;
    std::function<void(const TerminalCommand &)> onOpen;

    [[nodiscard]] QString name() const override { return QStringLiteral("Demo"); }
    [[nodiscard]] bool handles(const QString &terminalType) const override { return terminalType == type(); }
    [[nodiscard]] Abilities abilities(const TerminalTarget &) const override { return { true, true, true, true }; }
    Failure focus(const TerminalTarget &) override { return {}; }
    Failure typeText(const TerminalTarget &target, const QString &text) override;
    Failure pressReturn(const TerminalTarget &target) override;
    Failure close(const TerminalTarget &) override { return {}; }
    Failure open(const TerminalTarget &, const TerminalCommand &command) override;
    [[nodiscard]] std::optional<TerminalTarget> findPlaceToOpen() override { return TerminalTarget { type(), {}, {} }; }
    [[nodiscard]] std::optional<Problem> examine(const TerminalTarget &) override { return {}; }

    [[nodiscard]] static QString type() { return QStringLiteral("demo"); }

private:
    void type(const QString &sessionID, const QString &text);

    MainQueue &m_mainQueue;
    QHash<QString, QString> m_typed; ///< What stands in a session's line. Main thread.
};

} // namespace vantry::demo
