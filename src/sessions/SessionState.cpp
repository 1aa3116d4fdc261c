#include "sessions/SessionState.h"

#include <array>

namespace vantry {

namespace {

struct StatusName
{
    QStringView status;
    SessionState state;
};

/// The strings that are written, in the order of the states; then those that are only read.
constexpr std::array statusNames {
    StatusName { u"launching", SessionState::launching },
    StatusName { u"working", SessionState::working },
    StatusName { u"needs_permission", SessionState::needsPermission },
    StatusName { u"has_question", SessionState::hasQuestion },
    StatusName { u"ready", SessionState::ready },
    StatusName { u"active", SessionState::working },
    StatusName { u"waiting_permission", SessionState::needsPermission },
    StatusName { u"waiting_input", SessionState::hasQuestion },
    StatusName { u"task_complete", SessionState::ready },
    StatusName { u"stopped", SessionState::ready },
};

} // namespace

QString statusString(SessionState state)
{
    for (const StatusName &name : statusNames) {
        if (name.state == state)
            return name.status.toString();
    }
    return {};
}

SessionState sessionStateFromStatus(QStringView status)
{
    for (const StatusName &name : statusNames) {
        if (name.status == status)
            return name.state;
    }
    return SessionState::working;
}

} // namespace vantry
