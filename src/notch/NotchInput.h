#pragma once

#include <QString>

namespace vantry {

/// What happens to the notch.
struct NotchInput
{
    enum class Kind {
        start,
        stop,
        idle,            ///< Sent by nobody, and changes nothing: reserved.
        allSessionsGone, ///< No session is alive any more.
        peekTimeout,     ///< The peek card's time is over, or the user has answered it.
        hoverEntered,
        hoverExited,
        attention ///< A session has begun to wait for the user.
    };

    Kind kind;
    QString sessionID {}; ///< Of `attention`; empty in all others.
};

} // namespace vantry
