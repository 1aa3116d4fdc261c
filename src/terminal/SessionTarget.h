#pragma once

#include "platform/TerminalDriver.h"
#include "sessions/VantrySession.h"

namespace vantry {

/// Where the session's agent runs. A type that was not reported reads "unknown", an identifier that was not as empty.
[[nodiscard]] inline TerminalTarget targetOf(const VantrySession &session)
{
    return { session.terminalType().value_or(QStringLiteral("unknown")),
             session.terminalSessionID().value_or(QString()), session.shellPid() };
}

} // namespace vantry
