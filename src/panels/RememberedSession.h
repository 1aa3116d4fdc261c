#pragma once

#include "base/Clock.h"
#include "sessions/AgentTool.h"
#include "sessions/SessionStore.h"

#include <QString>

#include <optional>

namespace vantry {

/// What the panel shows of a session that the store has found. A plain value: it is made on the store's queue and taken
/// by the main thread.
struct RememberedSession
{
    QString id;
    AgentTool agentTool { AgentTool::claudeCode };
    std::optional<QString> projectName;
    std::optional<QString> cwd; ///< Never empty.
    QString gitBranch;          ///< Empty: unknown.
    Date lastUpdated {};
    QString snippet; ///< One line; may be empty.

    [[nodiscard]] static RememberedSession of(const SessionSearchResult &result);

    /// The project's name, or the first 8 characters of the identifier.
    [[nodiscard]] QString displayName() const;
};

} // namespace vantry
