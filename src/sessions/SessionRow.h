#pragma once

#include "base/Clock.h"
#include "sessions/Statement.h"
#include "sessions/VantrySession.h"

namespace vantry {

// A session as a row of the store's 22 columns. On the store's queue.

/// Binds the session to the statement that saves one.
void bindSession(Statement &save, const VantrySession &session);

/// The record of the current row, whose first 22 columns are those of a session. `now` stands for dates that are absent
/// or can't be read. The record belongs to the application's main thread.
[[nodiscard]] SessionPtr readSession(const Statement &row, Date now);

} // namespace vantry
