#include "notch/PeekText.h"

#include "sessions/VantrySession.h"

namespace vantry {

using namespace Qt::StringLiterals;

QString peekStatusText(const VantrySession &session)
{
    switch (session.state()) {
    case SessionState::hasQuestion:
        return u"Has a question"_s;
    case SessionState::needsPermission: {
        const QString tool = session.toolName().value_or(QString());
        return tool.isEmpty() ? u"Needs permission"_s : QString(u"Needs permission: "_s + tool);
    }
    case SessionState::launching:
    case SessionState::working:
    case SessionState::ready:
        break;
    }
    return u"Needs attention"_s;
}

QString peekMessage(const VantrySession &session)
{
    return session.displayName() + u"  "_s + peekStatusText(session);
}

} // namespace vantry
