#pragma once

#include "base/Clock.h"
#include "base/Paths.h"
#include "platform/ControlClient.h"
#include "sessions/SessionStore.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>
#include <variant>

namespace vantry {

// The database of sessions as a command reads it, beside a running application or without one. Nothing in it is
// changed, and none is made. Main thread only.

using HistoryQuery = std::function<QList<SessionSearchResult>(SessionStore &)>;

/// What the query gave, or why the database can't be read, as one line for a person. Where there is no database,
/// nothing is remembered.
[[nodiscard]] std::variant<QList<SessionSearchResult>, QString> queryHistory(const Paths &paths, const Clock &clock,
                                                                             const HistoryQuery &query);

/// A session that a user named.
struct KnownSession
{
    QString id;
    std::optional<QString> transcriptPath; ///< Of a file that exists.
};

/// The session that the user means, remembered or live: `given` is its identifier, or a leading part of one that fits
/// no other. Else why there is none, as one line for a person.
[[nodiscard]] std::variant<KnownSession, QString> findSession(const QString &given, const Paths &paths,
                                                              const Clock &clock, ControlClient &client);

} // namespace vantry
