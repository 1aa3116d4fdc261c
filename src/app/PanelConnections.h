#pragma once

#include "panels/SessionCallbacks.h"

namespace vantry {

class PendingPermissionStore;
class SessionActions;
class TerminalBridge;

/// What views may do to sessions and ask about them, carried out by the services, all of which must outlive it. Links,
/// the settings and quitting are left to whoever has the windows.
[[nodiscard]] SessionCallbacks sessionCallbacks(SessionActions &actions, const TerminalBridge &bridge,
                                                const PendingPermissionStore &held);

} // namespace vantry
