#include "hooks/HeldConnection.h"

#include <asio/post.hpp>

#include <utility>

namespace vantry {

HeldConnection::HeldConnection(std::shared_ptr<asio::io_context> loop, MainQueue &mainQueue,
                               std::weak_ptr<IntakeConnection> connection,
                               std::shared_ptr<IntakeConnection::HeldState> state)
    : m_loop(std::move(loop))
    , m_mainQueue(mainQueue)
    , m_connection(std::move(connection))
    , m_state(std::move(state))
{}

void HeldConnection::respond(std::string_view status, std::string body)
{
    if (m_state->ended.exchange(true))
        return;
    asio::post(*m_loop, [connection = m_connection, statusText = std::string(status), text = std::move(body)] {
        if (const auto alive = connection.lock())
            alive->respondHeld({ statusText, text });
    });
}

void HeldConnection::cancel()
{
    if (m_state->ended.exchange(true))
        return;
    m_state->gone = true;
    asio::post(*m_loop, [connection = m_connection] {
        if (const auto alive = connection.lock())
            alive->close();
    });
}

void HeldConnection::watch(std::function<void()> onGone)
{
    asio::post(*m_loop, [connection = m_connection, &mainQueue = m_mainQueue, watcher = std::move(onGone)]() mutable {
        if (const auto alive = connection.lock())
            alive->watch(std::move(watcher));
        else
            mainQueue.post(std::move(watcher));
    });
}

} // namespace vantry
