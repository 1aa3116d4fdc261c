#pragma once

#include "notch/NotchEffect.h"
#include "notch/NotchInput.h"
#include "notch/NotchState.h"

#include <QList>
#include <QString>

#include <optional>

namespace vantry {

/// Decides what the notch does: takes what happens, changes its state and tells what is to be done, in order. Knows no
/// window, timer or session, so every race between the pointer, the peek card and the sessions' end is settled here:
/// - A new attention during a peek replaces the card, also that of the same session.
/// - An attention while expanded, or while not running, is dropped: nothing is kept for later.
/// - The pointer wins over a peek, and a peek's late timeout can't collapse what the pointer has expanded.
/// - Without sessions the notch stays, compact. Only `stop` hides it.
///
/// `peekSessionID` is there exactly while peeking, and what doesn't run is hidden. Main thread only.
class NotchStateMachine
{
public:
    [[nodiscard]] NotchState state() const { return m_state; }
    /// From `start` to `stop`.
    [[nodiscard]] bool isRunning() const { return m_isRunning; }
    /// The session in the peek card.
    [[nodiscard]] const std::optional<QString> &peekSessionID() const { return m_peekSessionID; }

    QList<NotchEffect> send(const NotchInput &input);
    // The same as sending these.
    QList<NotchEffect> stop();
    QList<NotchEffect> allSessionsGone();
    QList<NotchEffect> attention(const QString &sessionID);

private:
    QList<NotchEffect> start();
    QList<NotchEffect> peekTimeout();
    QList<NotchEffect> hoverEntered();
    QList<NotchEffect> hoverExited();

    NotchState m_state { NotchState::hidden };
    bool m_isRunning { false };
    std::optional<QString> m_peekSessionID;
};

} // namespace vantry
