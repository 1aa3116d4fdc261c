#pragma once

#include "base/Clock.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>

namespace vantry {

/// One of a project's latest sessions, as the agent's own store of transcripts tells it.
struct RecentSession
{
    QString id;
    Date lastUsed;
    std::optional<QString> firstMessage; ///< The beginning of the first user text, as it stands in the transcript.
};

/// A directory in which the agent was used.
struct RecentProject
{
    QString id;   ///< The name of its folder among the transcripts.
    QString path; ///< The directory itself.
    QString name; ///< The last component of `path`.
    Date lastUsed;
    QList<RecentSession> sessions; ///< At most 5, the most recent first.
};

/// Finds out where the agent has been used of late, from the transcripts' folders and files alone. Has no state. Any
/// thread; the caller waits for the disk.
class RecentProjects
{
public:
    /// `home` is the user's home directory.
    explicit RecentProjects(QString home);

    /// The projects that were used last, the most recent first; what was used at the same moment, in the order of `id`.
    /// What can't be read is left out.
    [[nodiscard]] QList<RecentProject> loadRecentProjects(std::int64_t limit) const;

private:
    const QString m_home;
};

} // namespace vantry
