#pragma once

#include "base/DebugLog.h"
#include "base/MainQueue.h"
#include "hooks/IntakeConnection.h"
#include "hooks/IntakeSocket.h"
#include "platform/PeerIdentity.h"

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace vantry {

/// What the intake thread hands over to the main one. Called on the intake thread; no call waits.
class IntakeSink
{
public:
    virtual ~IntakeSink() = default;

    /// The listener that this call of HookIntake::listen() began is ready, or has failed and is closed.
    virtual void listening(std::uint64_t generation) = 0;
    virtual void failed(std::uint64_t generation, std::string error) = 0;
    /// An event to be delivered.
    virtual void received(HookEvent event) = 0;
    /// A permission request to be held, to be delivered as an event after that.
    virtual void requested(HookEvent event, HookConnectionPtr connection) = 0;
};

/// The intake thread with its listening sockets and all connections, held ones too. The public members are called on
/// the main thread and don't wait, but for the destructor.
class HookIntake final : private IntakeConnection::Owner
{
public:
    /// What becomes of permission requests that are no questions.
    enum class PermissionRequests { Held, AnsweredAtOnce };

    /// All of these are used on the intake thread and must outlive the intake.
    HookIntake(MainQueue &mainQueue, Log &log, PeerIdentity &peers, IntakeSink &sink);
    /// Closes what waits or is held, lets answers on their way go out, for a second at most, and ends the thread.
    ~HookIntake() override;
    HookIntake(const HookIntake &) = delete;
    HookIntake &operator=(const HookIntake &) = delete;

    /// Listens on 127.0.0.1 and ::1, in the place of what listened before. The sink is told how that went, with the
    /// same generation.
    void listen(std::uint16_t port, std::uint64_t generation, PermissionRequests permissionRequests);
    /// Accepts no more. Connections that are open go on.
    void stopListening();

    /// Intake thread, for the sink: has the main thread run the task. One that comes alone goes at once; those that
    /// follow it closely gather for a moment and go together, since waking the main thread is dear.
    void handOver(MainQueue::Task task);

private:
    struct Listener;

    // What connections need.
    [[nodiscard]] std::shared_ptr<asio::io_context> loop() override { return m_loop; }
    [[nodiscard]] std::span<char> scratch() override;
    [[nodiscard]] ReceiveBuffer takeBuffer() override;
    void recycle(ReceiveBuffer buffer) override;
    [[nodiscard]] MainQueue &mainQueue() override { return m_mainQueue; }
    [[nodiscard]] Log &log() override { return m_log; }
    [[nodiscard]] bool holdsPermissionRequests() const override { return m_holdsPermissionRequests; }
    void received(HookEvent event) override { m_sink.received(std::move(event)); }
    void requested(HookEvent event, HookConnectionPtr connection) override;
    void entered(IntakeConnection &connection) override { m_connections.insert(&connection); }
    void closed(IntakeConnection &connection) override;

    void run();
    void openListeners(std::uint16_t port, std::uint64_t generation);
    void closeListeners();
    void waitToAccept(const std::shared_ptr<Listener> &listener);
    void waitToAccept();
    void acceptAll(const std::shared_ptr<Listener> &listener);
    void acceptError(const std::shared_ptr<Listener> &listener, std::error_code error);
    void greet(IntakeSocket socket);
    void pauseAccepting();
    void resumeAccepting();
    void passOnAt(asio::steady_timer::time_point time);
    void passOn();
    void beginEnd();
    [[nodiscard]] std::vector<std::shared_ptr<IntakeConnection>> openConnections() const;

    MainQueue &m_mainQueue;
    Log &m_log;
    PeerIdentity &m_peers;
    IntakeSink &m_sink;

    /// Shared with the handles of held connections, which may outlive the intake.
    std::shared_ptr<asio::io_context> m_loop;
    asio::executor_work_guard<asio::io_context::executor_type> m_work;

    // The intake thread's own.
    std::vector<std::shared_ptr<Listener>> m_listeners;
    std::unordered_set<IntakeConnection *> m_connections; ///< Those that the loop knows.
    std::vector<char> m_scratch;
    /// Of earlier larger requests, since fresh memory costs more than the copying into it.
    std::vector<ReceiveBuffer> m_spares;
    asio::steady_timer m_pause;
    asio::steady_timer m_patience;           ///< How long the end waits for answers.
    std::vector<MainQueue::Task> m_gathered; ///< Waits for the timer; in between, nothing does.
    asio::steady_timer m_gathering;
    asio::steady_timer::time_point m_lastPassedOn;
    bool m_holdsPermissionRequests { false };
    bool m_acceptPaused { false };
    bool m_ending { false };
    bool m_toldOfUnknownPeers { false };

    std::thread m_thread; ///< Last: it uses all of the above.
};

} // namespace vantry
