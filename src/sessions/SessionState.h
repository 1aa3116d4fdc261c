#pragma once

#include <QString>

namespace vantry {

/// What a session is doing. The store's strings are "launching", "working", "needs_permission", "has_question" and
/// "ready".
enum class SessionState { launching, working, needsPermission, hasQuestion, ready };

/// The string that is written to the store and shown in JSON.
[[nodiscard]] QString statusString(SessionState state);
/// Reads a stored string, older forms included ("active", "waiting_permission", "waiting_input", "task_complete",
/// "stopped"). Total: every other string is `working`.
[[nodiscard]] SessionState sessionStateFromStatus(QStringView status);

} // namespace vantry
