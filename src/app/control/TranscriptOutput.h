#pragma once

#include "app/control/SessionJson.h"
#include "app/control/TextTable.h"
#include "transcripts/RecentProjects.h"
#include "transcripts/TranscriptMessage.h"

#include <QList>
#include <QString>

#include <vector>

namespace vantry {

// What `messages` and `projects` print. The JSON is a promise in its keys, their order and their types. Pure.

[[nodiscard]] Json messagesJson(const std::vector<TranscriptMessage> &messages);
/// The conversation for people: who spoke when (local time), the text as it stands, one line for each tool.
[[nodiscard]] QString messagesText(const std::vector<TranscriptMessage> &messages, const TextStyle &style);

[[nodiscard]] Json projectsJson(const QList<RecentProject> &projects);
/// A table. Paths under `home` begin with "~".
[[nodiscard]] QString projectsText(const QList<RecentProject> &projects, Date now, const QString &home,
                                   const TextStyle &style);

} // namespace vantry
