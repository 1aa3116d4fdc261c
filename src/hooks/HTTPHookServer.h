#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/MainQueue.h"
#include "base/Scheduler.h"
#include "hooks/HookConnection.h"
#include "hooks/HookEvent.h"
#include "platform/PeerIdentity.h"

#include <QObject>

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace vantry {

class HTTPHookServerError final : public std::runtime_error
{
public:
    enum class Case { invalidPort };

    explicit HTTPHookServerError(Case reason);
    [[nodiscard]] Case reason() const { return m_case; }

private:
    Case m_case;
};

/// The way in for agent events, as the application sees it.
class HTTPHookServing
{
public:
    virtual ~HTTPHookServing() = default;

    virtual void start() = 0;
    virtual void stop() = 0;
    [[nodiscard]] virtual bool isRunning() const = 0;
};

/// A deliberately tiny HTTP/1.1 server on 127.0.0.1 and ::1: one request per connection, decoded to a HookEvent and
/// handed to the main thread. A permission request gets no answer here; its open connection is handed on. Owns the
/// intake thread, on which all connections live; answers to ordinary events never wait for the main thread.
/// All members are called on the main thread, where the callbacks run, too.
class HTTPHookServer final : public QObject, public HTTPHookServing
{
    Q_OBJECT
    Q_PROPERTY(bool running READ isRunning NOTIFY runningChanged)

public:
    /// In the ephemeral range on purpose: agents' settings all over name it.
    static constexpr std::uint16_t defaultPort = 49152;

    /// `log` and `peers` are used on the intake thread, too, and must outlive the server.
    HTTPHookServer(MainQueue &mainQueue, Scheduler &scheduler, Log &log, PeerIdentity &peers,
                   std::uint16_t port = defaultPort, QObject *parent = nullptr);
    /// Lets answers on their way go out, for a second at most, then ends the intake thread.
    ~HTTPHookServer() override;

    /// Begins to listen. Whether that worked is told by `runningChanged` and the log; a bind or listen error is retried
    /// after 5 seconds until stop(). Throws HTTPHookServerError for port 0.
    void start() override;
    void stop() override;
    [[nodiscard]] bool isRunning() const override { return m_running; }
    [[nodiscard]] std::uint16_t port() const { return m_port; }

    /// Every event that is delivered. Unset: dropped.
    std::function<void(const HookEvent &)> onEventReceived;
    /// A permission request to be held; runs before onEventReceived for the same event. Unset before start(): such
    /// requests are answered at once with "{}".
    std::function<void(const HookEvent &, HookConnectionPtr)> onPermissionRequest;

Q_SIGNALS:
    void runningChanged(bool running);

private:
    class Intake;

    void listening(std::uint64_t generation);
    void failed(std::uint64_t generation, const std::string &error);
    void setRunning(bool running);

    const std::uint16_t m_port;
    MainQueue &m_mainQueue;
    Scheduler &m_scheduler;
    Log &m_log;
    PeerIdentity &m_peers;
    bool m_running { false };
    bool m_stopped { true };
    std::uint64_t m_generation { 0 }; ///< Of the newest listener: what an older one still reports is ignored.
    ScheduledTimer m_retry;
    std::unique_ptr<Intake> m_intake; ///< From the first start() on. Last: its thread uses all of the above.
};

} // namespace vantry
