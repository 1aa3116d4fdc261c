#pragma once

#include "base/MainQueue.h"
#include "hooks/HookConnection.h"
#include "hooks/IntakeConnection.h"

#include <asio/io_context.hpp>

#include <memory>

namespace vantry {

/// The handle of a held connection: passes every call on to the intake thread. May outlive the intake; its calls do
/// nothing then. Letting go of it leaves the connection open until its peer ends it.
class HeldConnection final : public HookConnection
{
public:
    HeldConnection(std::shared_ptr<asio::io_context> loop, MainQueue &mainQueue,
                   std::weak_ptr<IntakeConnection> connection, std::shared_ptr<IntakeConnection::HeldState> state);

    void respond(std::string_view status, std::string body) override;
    void cancel() override;
    void watch(std::function<void()> onGone) override;
    [[nodiscard]] bool isGone() const override { return m_state->gone; }

private:
    /// Kept, since posting to it must stay possible; after the intake's end nothing runs what is posted.
    std::shared_ptr<asio::io_context> m_loop;
    MainQueue &m_mainQueue; ///< Used on the intake thread alone, so only while the intake lives.
    std::weak_ptr<IntakeConnection> m_connection;
    std::shared_ptr<IntakeConnection::HeldState> m_state;
};

} // namespace vantry
