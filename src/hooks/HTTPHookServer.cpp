#include "hooks/HTTPHookServer.h"

#include "hooks/HookIntake.h"

#include <chrono>
#include <utility>

namespace vantry {

namespace {

constexpr std::chrono::seconds retryDelay { 5 };

const char *describe(HTTPHookServerError::Case reason)
{
    switch (reason) {
    case HTTPHookServerError::Case::invalidPort:
        return "Invalid port number";
    }
    return "";
}

} // namespace

HTTPHookServerError::HTTPHookServerError(Case reason)
    : std::runtime_error(describe(reason))
    , m_case(reason)
{}

/// The intake thread and how it reaches the server: by the main queue, and only while the server is there.
class HTTPHookServer::Intake final : private IntakeSink
{
public:
    Intake(HTTPHookServer &server, PeerIdentity &peers)
        : m_server(std::make_shared<HTTPHookServer *>(&server))
        , m_intake(server.m_mainQueue, server.m_log, peers, *this)
    {}

    [[nodiscard]] HookIntake &thread() { return m_intake; }

private:
    void listening(std::uint64_t generation) override
    {
        post([generation](HTTPHookServer &server) { server.listening(generation); });
    }
    void failed(std::uint64_t generation, std::string error) override
    {
        post([generation, text = std::move(error)](HTTPHookServer &server) { server.failed(generation, text); });
    }
    void received(HookEvent event) override
    {
        post([shared = std::make_shared<const HookEvent>(std::move(event))](HTTPHookServer &server) {
            if (server.onEventReceived)
                server.onEventReceived(*shared);
        });
    }
    void requested(HookEvent event, HookConnectionPtr connection) override
    {
        // One call for both callbacks: nothing comes between them.
        post([shared = std::make_shared<const HookEvent>(std::move(event)),
              held = std::move(connection)](HTTPHookServer &server) {
            if (server.onPermissionRequest)
                server.onPermissionRequest(*shared, held);
            if (server.onEventReceived)
                server.onEventReceived(*shared);
        });
    }

    template <typename Call>
    void post(Call call)
    {
        m_intake.handOver([server = std::weak_ptr(m_server), call = std::move(call)] {
            if (const auto alive = server.lock())
                call(**alive);
        });
    }

    const std::shared_ptr<HTTPHookServer *> m_server; ///< Gone when the server is.
    HookIntake m_intake;                              ///< Last: its thread uses all of the above.
};

HTTPHookServer::HTTPHookServer(MainQueue &mainQueue, Scheduler &scheduler, Log &log, PeerIdentity &peers,
                               std::uint16_t port, QObject *parent)
    : QObject(parent)
    , m_port(port)
    , m_mainQueue(mainQueue)
    , m_scheduler(scheduler)
    , m_log(log)
    , m_peers(peers)
{}

HTTPHookServer::~HTTPHookServer() = default;

void HTTPHookServer::start()
{
    m_stopped = false;
    m_retry.cancel();
    if (m_port == 0)
        throw HTTPHookServerError(HTTPHookServerError::Case::invalidPort);
    if (!m_intake)
        m_intake = std::make_unique<Intake>(*this, m_peers);
    m_intake->thread().listen(m_port, ++m_generation,
                              onPermissionRequest ? HookIntake::PermissionRequests::Held
                                                  : HookIntake::PermissionRequests::AnsweredAtOnce);
}

void HTTPHookServer::stop()
{
    m_stopped = true;
    m_retry.cancel();
    ++m_generation;
    if (m_intake)
        m_intake->thread().stopListening();
    setRunning(false);
    m_log.write("HTTPHookServer: stopped");
}

void HTTPHookServer::listening(std::uint64_t generation)
{
    if (generation != m_generation)
        return;
    setRunning(true);
    m_log.write("HTTPHookServer: listening on port " + std::to_string(m_port));
}

void HTTPHookServer::failed(std::uint64_t generation, const std::string &error)
{
    if (generation != m_generation)
        return;
    setRunning(false);
    m_log.write("HTTPHookServer: failed: " + error + " — retrying in 5s");
    m_retry = m_scheduler.after(retryDelay, [this] {
        if (!m_stopped)
            start();
    });
}

void HTTPHookServer::setRunning(bool running)
{
    if (std::exchange(m_running, running) != running)
        Q_EMIT runningChanged(running);
}

} // namespace vantry
