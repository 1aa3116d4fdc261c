#include "hooks/IntakeConnection.h"

#include "hooks/HeldConnection.h"
#include "hooks/RequestRouting.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace vantry {

namespace {

/// No connection may keep the thread to itself: after so many bytes it is the others' turn.
constexpr std::size_t bytesPerTurn = std::size_t { 1 } << 20;
/// The most that is reserved because a peer says so. What is larger grows as it comes.
constexpr std::uint64_t largestReservation = std::uint64_t { 64 } << 20;
/// How long a peer may go on sending after its answer.
constexpr std::chrono::seconds lingering { 1 };

bool wouldBlock(std::error_code error)
{
    return error == std::errc::operation_would_block || error == std::errc::resource_unavailable_try_again;
}

} // namespace

/// Nothing that one connection does may end the thread: memory may run out for a large request.
template <typename Function>
void IntakeConnection::guarded(Function &&function)
{
    try {
        function();
    } catch (const std::exception &exception) {
        close();
        m_owner.log().write(std::string("HTTPHookServer: dropped a connection: ") + exception.what());
    }
}

void IntakeConnection::begin()
{
    guarded([this] { readRequest(); });
}

void IntakeConnection::refuse(const HTTPResponse &response)
{
    guarded([&] { answer(response); });
}

void IntakeConnection::respondHeld(const HTTPResponse &response)
{
    if (m_state == State::Held)
        guarded([&] { answer(response); });
}

void IntakeConnection::watch(std::function<void()> onGone)
{
    m_onGone = std::move(onGone);
    if (m_state == State::Closed)
        m_owner.mainQueue().post(std::exchange(m_onGone, {}));
}

void IntakeConnection::close()
{
    if (m_state == State::Closed)
        return;
    m_state = State::Closed;
    m_socket.close();
    m_lingering.reset();
    m_buffer.clear();
    if (m_held)
        m_held->gone = true;
    m_owner.closed(*this);
    if (m_onGone)
        m_owner.mainQueue().post(std::exchange(m_onGone, {}));
}

void IntakeConnection::closeUnlessAnswering()
{
    if (m_state != State::Answering && m_state != State::Lingering)
        close();
}

void IntakeConnection::waitToRead()
{
    if (m_waitsToRead)
        return;
    m_owner.entered(*this);
    m_socket.whenReadable([self = shared_from_this()](std::error_code error) {
        self->m_waitsToRead = false;
        if (self->m_state == State::Closed)
            return;
        if (error)
            self->close();
        else
            self->guarded([&] { self->onReadable(); });
    });
    m_waitsToRead = true;
}

void IntakeConnection::onReadable()
{
    switch (m_state) {
    case State::Reading:
        return readRequest();
    case State::Held:
    case State::Lingering:
        return dropWhatComes();
    case State::Answering: // Lingering begins with a look at what has come.
    case State::Closed:
        return;
    }
}

void IntakeConnection::readRequest()
{
    for (std::size_t taken = 0; taken < bytesPerTurn;) {
        const std::span<char> scratch = m_owner.scratch();
        const std::span<char> room = m_buffer.isEmpty() ? scratch : m_buffer.makeRoom(scratch.size());
        const auto [count, error] = m_socket.receive(room);
        if (wouldBlock(error))
            break;
        if (count == 0) {
            // The peer's end, orderly or not: what there is gets processed, whole or not.
            m_peerHasEnded = true;
            return process(m_buffer.bytes());
        }
        taken += count;
        take({ room.data(), count });
        if (m_state != State::Reading)
            return;
    }
    waitToRead();
}

void IntakeConnection::take(std::string_view bytes)
{
    if (m_framing.isMalformed())
        return;
    const bool inScratch = m_buffer.isEmpty();
    if (!inScratch)
        m_buffer.commit(bytes.size());
    const std::string_view request = inScratch ? bytes : m_buffer.bytes();
    m_framing.advance(request);
    if (m_framing.isWhole())
        process(request);
    else if (m_framing.isMalformed())
        m_buffer.clear(); // Its answer is certain, and is given when the peer has ended.
    else if (inScratch)
        keep(bytes);
}

void IntakeConnection::keep(std::string_view bytes)
{
    // One read's room beyond what was announced, so that the last read needs no growth. The shared buffer is for such
    // requests alone: one whose header block is still under way may stall, and would keep it.
    if (const auto announced = m_framing.announcedLength()) {
        m_buffer = m_owner.takeBuffer();
        m_buffer.reserve(std::min(*announced, largestReservation) + m_owner.scratch().size());
    }
    m_buffer.append(bytes);
}

void IntakeConnection::process(std::string_view bytes)
{
    const auto request = route(bytes, m_framing);
    if (const auto *response = std::get_if<HTTPResponse>(&request))
        return answer(*response);
    auto decoded = HookEvent::decodePadded(std::get<HookBody>(request).json);
    m_owner.recycle(std::move(m_buffer));
    if (const auto *reason = std::get_if<std::string>(&decoded)) {
        // Never a failure for the agent: its hook must neither hang nor report an error.
        m_owner.log().write("HTTPHookServer: failed to decode JSON: " + *reason);
        return answer(responses::ok);
    }
    deliver(std::get<HookEvent>(std::move(decoded)));
}

void IntakeConnection::deliver(HookEvent event)
{
    const HookEventType type = event.eventType();
    std::string line = "HTTPHookServer: received ";
    line += rawValue(type);
    line += " for session ";
    line += event.sessionID.toStdString();
    m_owner.log().write(line);

    if (type == HookEventType::permissionRequest && event.toolName == u"AskUserQuestion") {
        // A question is never held: the agent has to go on to show it.
        answer(responses::autoAllow);
        m_owner.received(std::move(event));
    } else if (type == HookEventType::permissionRequest && m_owner.holdsPermissionRequests()) {
        hold(std::move(event));
    } else {
        // The agent goes on while the main thread is woken.
        answer(responses::ok);
        m_owner.received(std::move(event));
    }
}

void IntakeConnection::hold(HookEvent event)
{
    m_state = State::Held;
    m_held = std::make_shared<HeldState>();
    m_owner.requested(std::move(event),
                      std::make_shared<HeldConnection>(m_owner.loop(), m_owner.mainQueue(), weak_from_this(), m_held));
    if (m_peerHasEnded)
        close();
    else
        dropWhatComes();
}

void IntakeConnection::answer(const HTTPResponse &response)
{
    m_state = State::Answering;
    m_answer = response.toBytes();
    send();
}

void IntakeConnection::send()
{
    while (m_sent < m_answer.size()) {
        const auto [count, error] = m_socket.send(std::string_view(m_answer).substr(m_sent));
        if (wouldBlock(error)) {
            m_owner.entered(*this);
            m_socket.whenWritable([self = shared_from_this()](std::error_code failure) {
                if (self->m_state != State::Answering)
                    return;
                if (failure)
                    self->close();
                else
                    self->guarded([&] { self->send(); });
            });
            return;
        }
        if (error)
            return close();
        m_sent += count;
    }
    // Before any closing: where the peer has sent more meanwhile, closing resets the connection, and what was still to
    // go out would be lost with it.
    m_socket.shutdownSending();
    // While it was held, the peer may have sent more.
    if (m_peerHasEnded || (m_framing.isExhausted() && !m_held))
        close();
    else
        linger();
}

void IntakeConnection::linger()
{
    // Closing while the peer still sends would reset the connection, and the answer would be lost with it.
    m_state = State::Lingering;
    m_lingering = std::make_unique<asio::steady_timer>(*m_owner.loop(), vantry::lingering);
    m_lingering->async_wait([self = shared_from_this()](std::error_code error) {
        if (!error)
            self->close();
    });
    dropWhatComes();
}

void IntakeConnection::dropWhatComes()
{
    for (std::size_t dropped = 0; dropped < bytesPerTurn;) {
        const auto [count, error] = m_socket.receive(m_owner.scratch());
        if (wouldBlock(error))
            break;
        // A peer that has only ended its sending counts as gone, too.
        if (count == 0)
            return close();
        dropped += count;
    }
    waitToRead();
}

} // namespace vantry
