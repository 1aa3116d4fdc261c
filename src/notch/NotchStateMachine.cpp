#include "notch/NotchStateMachine.h"

#include <utility>

namespace vantry {

namespace {

using Kind = NotchEffect::Kind;

/// A list that is made once; copies share it.
template <Kind... kinds>
const QList<NotchEffect> &effects()
{
    static const QList<NotchEffect> list { NotchEffect { kinds }... };
    return list;
}

} // namespace

QList<NotchEffect> NotchStateMachine::send(const NotchInput &input)
{
    switch (input.kind) {
    case NotchInput::Kind::start:
        return start();
    case NotchInput::Kind::stop:
        return stop();
    case NotchInput::Kind::idle:
        return {};
    case NotchInput::Kind::allSessionsGone:
        return allSessionsGone();
    case NotchInput::Kind::peekTimeout:
        return peekTimeout();
    case NotchInput::Kind::hoverEntered:
        return hoverEntered();
    case NotchInput::Kind::hoverExited:
        return hoverExited();
    case NotchInput::Kind::attention:
        return attention(input.sessionID);
    }
    return {};
}

QList<NotchEffect> NotchStateMachine::start()
{
    if (m_isRunning)
        return {};
    m_isRunning = true;
    m_state = NotchState::compact;
    return effects<Kind::showCompact>();
}

QList<NotchEffect> NotchStateMachine::stop()
{
    if (!m_isRunning)
        return {};
    // Whoever reads this while the effects are carried out sees that it has stopped.
    m_isRunning = false;
    m_state = NotchState::hidden;
    const bool wasPeeking = std::exchange(m_peekSessionID, std::nullopt).has_value();
    return wasPeeking ? effects<Kind::dismissPeek, Kind::hide>() : effects<Kind::hide>();
}

QList<NotchEffect> NotchStateMachine::allSessionsGone()
{
    if (!m_isRunning)
        return {};
    switch (std::exchange(m_state, NotchState::compact)) {
    case NotchState::peeking:
        m_peekSessionID.reset();
        return effects<Kind::dismissPeek>();
    case NotchState::expanded:
        return effects<Kind::collapse>();
    case NotchState::hidden:
    case NotchState::compact:
        break;
    }
    return {};
}

QList<NotchEffect> NotchStateMachine::peekTimeout()
{
    if (m_state != NotchState::peeking)
        return {};
    m_state = NotchState::compact;
    m_peekSessionID.reset();
    return effects<Kind::dismissPeek>();
}

QList<NotchEffect> NotchStateMachine::hoverEntered()
{
    switch (m_state) {
    case NotchState::compact:
        m_state = NotchState::expanded;
        return effects<Kind::expand>();
    case NotchState::peeking:
        m_state = NotchState::expanded;
        m_peekSessionID.reset();
        return effects<Kind::dismissPeek, Kind::expand>();
    case NotchState::hidden:
    case NotchState::expanded:
        break;
    }
    return {};
}

QList<NotchEffect> NotchStateMachine::hoverExited()
{
    if (m_state != NotchState::expanded)
        return {};
    m_state = NotchState::compact;
    return effects<Kind::collapse>();
}

QList<NotchEffect> NotchStateMachine::attention(const QString &sessionID)
{
    switch (m_state) {
    case NotchState::compact:
        m_state = NotchState::peeking;
        m_peekSessionID = sessionID;
        return { { Kind::showPeek, sessionID } };
    case NotchState::peeking:
        m_peekSessionID = sessionID;
        return { { Kind::dismissPeek }, { Kind::showPeek, sessionID } };
    case NotchState::hidden:
    case NotchState::expanded:
        break;
    }
    return {};
}

} // namespace vantry
