#include "panels/RememberedSession.h"

#include "base/Text.h"
#include "sessions/SessionText.h"

namespace vantry {

RememberedSession RememberedSession::of(const SessionSearchResult &result)
{
    const VantrySession &session = *result.session;
    RememberedSession remembered;
    remembered.id = session.id();
    remembered.agentTool = session.agentTool();
    remembered.projectName = session.projectName();
    if (session.cwd() && !session.cwd()->isEmpty())
        remembered.cwd = session.cwd();
    remembered.gitBranch = session.gitBranch().value_or(QString());
    remembered.lastUpdated = session.lastUpdated();
    if (result.snippet)
        remembered.snippet = firstMeaningfulLine(*result.snippet).value_or(QString());
    return remembered;
}

QString RememberedSession::displayName() const
{
    return projectName ? *projectName : firstCharacters(id, 8).toString();
}

} // namespace vantry
