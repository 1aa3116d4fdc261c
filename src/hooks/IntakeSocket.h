#pragma once

#include <asio/io_context.hpp>
#include <asio/posix/basic_stream_descriptor.hpp>

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>

namespace vantry {

/// A non-blocking TCP socket of the intake thread, listening or connected. Owns its descriptor, which no child
/// inherits. It is made known to the loop only when it is first waited for: most connections never are. Intake thread
/// only.
class IntakeSocket
{
public:
    enum class Family { V4, V6 };

    /// Takes over the descriptor.
    IntakeSocket(asio::io_context &loop, int descriptor)
        : m_loop(&loop)
        , m_descriptor(descriptor)
    {}
    ~IntakeSocket() { close(); }
    IntakeSocket(IntakeSocket &&other) noexcept;
    IntakeSocket &operator=(IntakeSocket &&) = delete;

    /// A socket that listens on the family's loopback address. Throws std::system_error.
    [[nodiscard]] static IntakeSocket listenOnLoopback(asio::io_context &loop, Family family, std::uint16_t port);

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    [[nodiscard]] int descriptor() const { return m_descriptor; }

    /// Of a listening socket: the next connection, or one that isn't open and why: operation_would_block when nobody
    /// waits.
    [[nodiscard]] IntakeSocket accept(std::error_code &error);

    struct Transfer
    {
        std::size_t count { 0 };
        std::error_code error; ///< operation_would_block when there is nothing to do now.
    };
    /// Nothing and no error: the peer has ended its sending.
    [[nodiscard]] Transfer receive(std::span<char> room);
    /// The end of what is sent may wait for shutdownSending(), to share its packet.
    [[nodiscard]] Transfer send(std::string_view bytes);
    /// Tells the peer that no more will be sent.
    void shutdownSending();
    void close();

    /// Calls `handler(std::error_code)` once when there is something to read (to write), or with an error when the
    /// socket was closed meanwhile. The socket may be gone by then. Not before the present handler has returned.
    template <typename Handler>
    void whenReadable(Handler &&handler)
    {
        known().async_wait(Waitable::wait_read, std::forward<Handler>(handler));
    }
    template <typename Handler>
    void whenWritable(Handler &&handler)
    {
        known().async_wait(Waitable::wait_write, std::forward<Handler>(handler));
    }

private:
    using Waitable = asio::posix::basic_stream_descriptor<asio::io_context::executor_type>;

    Waitable &known();

    asio::io_context *m_loop;
    int m_descriptor;
    std::optional<Waitable> m_waitable; ///< Once there, it owns the descriptor.
};

} // namespace vantry
