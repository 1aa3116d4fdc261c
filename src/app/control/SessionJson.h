#pragma once

#include "base/Clock.h"
#include "sessions/SessionStore.h"
#include "sessions/VantrySession.h"

#include <nlohmann/json.hpp>

#include <QList>
#include <QString>

#include <cstdint>
#include <string>

namespace vantry {

// The JSON that other programs read: a promise in its keys, their order and their types. Pure but for the transcript's
// path, which asks the file system. Main thread only, as the sessions are.

/// Keeps its keys in the order in which they were set.
using Json = nlohmann::ordered_json;

/// What is shown of a session and stands elsewhere.
struct SessionSurroundings
{
    Date now;
    QString home;
    int heldPermissions { 0 };
    bool hasAlwaysAllowSuggestions { false };
};

/// The one JSON form of a session.
[[nodiscard]] Json sessionJson(const VantrySession &session, const SessionSurroundings &surroundings);

/// `vantry status`: the sessions are values of sessionJson().
[[nodiscard]] Json statusJson(bool running, bool listening, std::uint16_t port, Json::array_t sessions);
/// `vantry search` and `vantry recent`.
[[nodiscard]] Json resultsJson(const QList<SessionSearchResult> &results, Date now, const QString &home);

// One line of `vantry watch` each, beside the document of statusJson().
[[nodiscard]] Json changedJson(Json session);
[[nodiscard]] Json removedJson(const QString &sessionID);
[[nodiscard]] Json listeningJson(bool listening);
[[nodiscard]] Json backfillJson(std::uint32_t done, std::uint32_t total);

/// UTF-8 for JSON; a lone surrogate becomes U+FFFD.
[[nodiscard]] std::string jsonString(const QString &text);
/// The document on one line.
[[nodiscard]] std::string jsonLine(const Json &document);

} // namespace vantry
