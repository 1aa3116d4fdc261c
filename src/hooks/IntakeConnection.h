#pragma once

#include "base/DebugLog.h"
#include "base/MainQueue.h"
#include "hooks/HTTPResponse.h"
#include "hooks/HookConnection.h"
#include "hooks/HookEvent.h"
#include "hooks/IntakeSocket.h"
#include "hooks/ReceiveBuffer.h"
#include "hooks/RequestFraming.h"

#include <asio/steady_timer.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace vantry {

/// One connection and its one request: reads until the request is whole, answers it and closes, or holds it until
/// somebody else answers. Intake thread only. Kept alive by what it waits for.
class IntakeConnection final : public std::enable_shared_from_this<IntakeConnection>
{
public:
    /// What the connections of one intake share. Outlives them.
    class Owner
    {
    public:
        virtual ~Owner() = default;

        [[nodiscard]] virtual std::shared_ptr<asio::io_context> loop() = 0;
        /// Room for one read, with HookEvent::padding behind it. Its content lasts until the next read of anybody.
        [[nodiscard]] virtual std::span<char> scratch() = 0;
        /// An empty buffer for a request that doesn't fit in one read; recycle() takes it back after use.
        [[nodiscard]] virtual ReceiveBuffer takeBuffer() = 0;
        virtual void recycle(ReceiveBuffer buffer) = 0;
        [[nodiscard]] virtual MainQueue &mainQueue() = 0;
        [[nodiscard]] virtual Log &log() = 0;
        [[nodiscard]] virtual bool holdsPermissionRequests() const = 0;
        virtual void received(HookEvent event) = 0;
        virtual void requested(HookEvent event, HookConnectionPtr connection) = 0;
        /// The connection waits for something, for the first time.
        virtual void entered(IntakeConnection &connection) = 0;
        /// The connection's descriptor is free again.
        virtual void closed(IntakeConnection &connection) = 0;
    };

    IntakeConnection(Owner &owner, IntakeSocket socket)
        : m_owner(owner)
        , m_socket(std::move(socket))
    {}

    /// Reads what has arrived already; goes on when there is more.
    void begin();
    /// Answers without looking at what the peer sends.
    void refuse(const HTTPResponse &response);
    /// Answers a held request. Does nothing when it isn't held any more.
    void respondHeld(const HTTPResponse &response);
    /// Calls `onGone` on the main thread when the connection has ended, at once when it has already.
    void watch(std::function<void()> onGone);
    /// Closes, with no regard to what is under way.
    void close();
    /// Closes, unless an answer is on its way.
    void closeUnlessAnswering();

    /// What the holder of a held connection can see from any thread.
    struct HeldState
    {
        std::atomic<bool> ended { false }; ///< Somebody has responded or cancelled.
        std::atomic<bool> gone { false };
    };

private:
    enum class State { Reading, Held, Answering, Lingering, Closed };

    template <typename Function>
    void guarded(Function &&function);
    void waitToRead();
    void onReadable();

    void readRequest();
    void take(std::string_view bytes);
    void keep(std::string_view bytes);
    void process(std::string_view bytes);
    void deliver(HookEvent event);
    void hold(HookEvent event);

    void answer(const HTTPResponse &response);
    void send();
    void linger();
    void dropWhatComes();

    Owner &m_owner;
    IntakeSocket m_socket;
    RequestFraming m_framing;
    ReceiveBuffer m_buffer; ///< Empty while all that has arrived lies in the scratch room.
    State m_state { State::Reading };
    bool m_waitsToRead { false };
    bool m_peerHasEnded { false };
    std::string m_answer;
    std::size_t m_sent { 0 }; ///< So many bytes of the answer.
    std::unique_ptr<asio::steady_timer> m_lingering;
    std::shared_ptr<HeldState> m_held; ///< Only of a connection that is or was held.
    std::function<void()> m_onGone;
};

} // namespace vantry
