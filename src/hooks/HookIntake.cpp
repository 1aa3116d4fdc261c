#include "hooks/HookIntake.h"

#include <asio/post.hpp>

#include <chrono>
#include <exception>
#include <system_error>
#include <utility>

namespace vantry {

namespace {

constexpr std::size_t largestRead = 65536;
constexpr std::size_t largestSpare = std::size_t { 1 } << 20;
/// As many large requests as come at once when several agents work.
constexpr std::size_t mostSpares = 4;
/// After so many connections in a row those that are open get their turn.
constexpr int acceptsPerTurn = 64;
/// How long accepting pauses when there is no descriptor left and no connection ends.
constexpr std::chrono::milliseconds acceptPause { 100 };
constexpr std::chrono::seconds patienceAtEnd { 1 };
/// How long events gather that come close upon each other. Nobody sees it, and a storm of them wakes the main thread
/// some hundred times a second instead of thousands of times.
constexpr std::chrono::milliseconds gatheringTime { 2 };

bool meansShortage(std::error_code error)
{
    return error == std::errc::too_many_files_open || error == std::errc::too_many_files_open_in_system ||
           error == std::errc::no_buffer_space || error == std::errc::not_enough_memory;
}

} // namespace

struct HookIntake::Listener
{
    IntakeSocket socket;
    std::uint64_t generation;
    bool isWaiting { false };
};

HookIntake::HookIntake(MainQueue &mainQueue, Log &log, PeerIdentity &peers, IntakeSink &sink)
    : m_mainQueue(mainQueue)
    , m_log(log)
    , m_peers(peers)
    , m_sink(sink)
    // Sockets and timers are touched on the intake thread alone; only posting needs a lock.
    , m_loop(std::make_shared<asio::io_context>(ASIO_CONCURRENCY_HINT_UNSAFE_IO))
    , m_work(asio::make_work_guard(*m_loop))
    , m_scratch(largestRead + HookEvent::padding)
    , m_pause(*m_loop)
    , m_patience(*m_loop)
    , m_gathering(*m_loop)
    , m_thread([this] { run(); })
{}

HookIntake::~HookIntake()
{
    asio::post(*m_loop, [this] { beginEnd(); });
    m_thread.join();
}

void HookIntake::listen(std::uint16_t port, std::uint64_t generation, PermissionRequests permissionRequests)
{
    asio::post(*m_loop, [this, port, generation, permissionRequests] {
        m_holdsPermissionRequests = permissionRequests == PermissionRequests::Held;
        openListeners(port, generation);
    });
}

void HookIntake::stopListening()
{
    asio::post(*m_loop, [this] { closeListeners(); });
}

void HookIntake::handOver(MainQueue::Task task)
{
    const auto next = m_lastPassedOn + gatheringTime;
    const bool isFirst = m_gathered.empty();
    const bool goesAtOnce = isFirst && next <= asio::steady_timer::clock_type::now();
    // The timer first: were it to fail with a task waiting, that one and all that follow would wait for ever.
    if (isFirst && !goesAtOnce)
        passOnAt(next);
    m_gathered.push_back(std::move(task));
    if (goesAtOnce)
        passOn();
}

void HookIntake::passOnAt(asio::steady_timer::time_point time)
{
    m_gathering.expires_at(time);
    m_gathering.async_wait([this](std::error_code error) {
        if (!error)
            passOn();
    });
}

void HookIntake::passOn()
{
    if (m_gathered.empty())
        return;
    m_lastPassedOn = asio::steady_timer::clock_type::now();
    m_mainQueue.post([tasks = std::exchange(m_gathered, {})] {
        for (const MainQueue::Task &task : tasks)
            task();
    });
}

void HookIntake::run()
{
    for (;;) {
        try {
            // Again after a failure: it may have been the accepting that was cut short.
            waitToAccept();
            m_loop->run();
            return;
        } catch (const std::exception &exception) {
            m_log.write(std::string("HTTPHookServer: ") + exception.what());
        }
    }
}

std::span<char> HookIntake::scratch()
{
    return { m_scratch.data(), largestRead };
}

ReceiveBuffer HookIntake::takeBuffer()
{
    if (m_spares.empty())
        return {};
    ReceiveBuffer buffer = std::move(m_spares.back());
    m_spares.pop_back();
    return buffer;
}

void HookIntake::recycle(ReceiveBuffer buffer)
{
    if (buffer.capacity() == 0 || buffer.capacity() > largestSpare || m_spares.size() == mostSpares)
        return;
    buffer.reuse();
    m_spares.push_back(std::move(buffer));
}

void HookIntake::requested(HookEvent event, HookConnectionPtr connection)
{
    m_sink.requested(std::move(event), std::move(connection));
}

void HookIntake::closed(IntakeConnection &connection)
{
    m_connections.erase(&connection);
    if (m_acceptPaused)
        asio::post(*m_loop, [this] { resumeAccepting(); });
    if (m_ending && m_connections.empty())
        m_patience.cancel();
}

void HookIntake::openListeners(std::uint16_t port, std::uint64_t generation)
{
    closeListeners();
    const auto open = [&](IntakeSocket::Family family) {
        m_listeners.push_back(
            std::make_shared<Listener>(Listener { IntakeSocket::listenOnLoopback(*m_loop, family, port), generation }));
        waitToAccept(m_listeners.back());
    };
    try {
        open(IntakeSocket::Family::V4);
    } catch (const std::system_error &error) {
        closeListeners();
        return m_sink.failed(generation, error.code().message());
    }
    try {
        open(IntakeSocket::Family::V6);
    } catch (const std::system_error &error) {
        m_log.write("HTTPHookServer: not listening on ::1: " + error.code().message());
    }
    m_sink.listening(generation);
}

void HookIntake::waitToAccept(const std::shared_ptr<Listener> &listener)
{
    if (listener->isWaiting)
        return;
    listener->socket.whenReadable([this, waiting = std::weak_ptr(listener)](std::error_code error) {
        const auto alive = waiting.lock();
        if (!alive)
            return;
        alive->isWaiting = false;
        if (error)
            acceptError(alive, error);
        else
            acceptAll(alive);
    });
    listener->isWaiting = true;
}

void HookIntake::acceptAll(const std::shared_ptr<Listener> &listener)
{
    for (int i = 0; i < acceptsPerTurn; ++i) {
        std::error_code error;
        IntakeSocket connection = listener->socket.accept(error);
        if (error)
            return acceptError(listener, error);
        try {
            greet(std::move(connection));
        } catch (const std::exception &exception) {
            // The next one has to be accepted all the same.
            m_log.write(std::string("HTTPHookServer: dropped a connection: ") + exception.what());
        }
    }
    waitToAccept(listener);
}

void HookIntake::acceptError(const std::shared_ptr<Listener> &listener, std::error_code error)
{
    if (error == std::errc::operation_would_block || error == std::errc::resource_unavailable_try_again)
        return waitToAccept(listener);
    if (meansShortage(error))
        return pauseAccepting();
    closeListeners();
    m_sink.failed(listener->generation, error.message());
}

void HookIntake::greet(IntakeSocket socket)
{
    const PeerIdentity::Peer peer = m_peers.identify(socket.descriptor());
    IntakeConnection::Owner &owner = *this;
    const auto connection = std::make_shared<IntakeConnection>(owner, std::move(socket));
    if (peer == PeerIdentity::Peer::Foreign)
        return connection->refuse(responses::notFound);
    if (peer == PeerIdentity::Peer::Unknown && !std::exchange(m_toldOfUnknownPeers, true))
        m_log.write("HTTPHookServer: can't tell which user connects: other users of this machine are not refused");
    connection->begin();
}

void HookIntake::closeListeners()
{
    m_listeners.clear();
    m_acceptPaused = false;
    m_pause.cancel();
}

void HookIntake::pauseAccepting()
{
    // Who waits to be accepted waits in the kernel's queue and is not lost.
    m_acceptPaused = true;
    m_pause.expires_after(acceptPause);
    m_pause.async_wait([this](std::error_code error) {
        if (!error)
            resumeAccepting();
    });
}

void HookIntake::resumeAccepting()
{
    if (!std::exchange(m_acceptPaused, false))
        return;
    m_pause.cancel();
    waitToAccept();
}

void HookIntake::waitToAccept()
{
    for (const auto &listener : m_listeners)
        waitToAccept(listener);
}

void HookIntake::beginEnd()
{
    m_ending = true;
    closeListeners();
    m_gathering.cancel();
    passOn();
    m_work.reset();
    for (const auto &connection : openConnections())
        connection->closeUnlessAnswering();
    if (m_connections.empty())
        return;
    m_patience.expires_after(patienceAtEnd);
    m_patience.async_wait([this](std::error_code) {
        for (const auto &connection : openConnections())
            connection->close();
    });
}

std::vector<std::shared_ptr<IntakeConnection>> HookIntake::openConnections() const
{
    std::vector<std::shared_ptr<IntakeConnection>> open;
    open.reserve(m_connections.size());
    for (IntakeConnection *connection : m_connections)
        open.push_back(connection->shared_from_this());
    return open;
}

} // namespace vantry
