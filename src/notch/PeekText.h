#pragma once

#include <QString>

namespace vantry {

class VantrySession;

// What a peek says of a session. Main thread only, as the session.

/// "Needs permission: Bash", "Needs permission", "Has a question" or "Needs attention".
[[nodiscard]] QString peekStatusText(const VantrySession &session);
/// The session's name, two blanks, and that.
[[nodiscard]] QString peekMessage(const VantrySession &session);

} // namespace vantry
