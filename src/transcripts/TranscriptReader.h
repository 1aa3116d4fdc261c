#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/Scheduler.h"
#include "sessions/VantrySession.h"
#include "transcripts/TranscriptLine.h"
#include "transcripts/TranscriptTail.h"

#include <QPointer>
#include <QString>

#include <optional>
#include <string_view>

namespace vantry {

class SessionManager;

/// Learns from the tails of the transcripts what hook events don't tell: the free share of the context of each alive
/// session, and that a turn is over. Reads the files on each tick afresh and remembers nothing of them. Main thread
/// only, but for the pure functions.
class TranscriptReader
{
public:
    /// What is given must outlive the reader. `home` is the user's home directory.
    TranscriptReader(QString home, Scheduler &scheduler, const Clock &clock, Log &log);

    /// Checks at once, and from then on each time the interval has passed. Takes the place of a start before.
    void start(Seconds interval);
    void checkSessions();

    // What the tail of a transcript (UTF-8, its first line may be cut off) tells. Any thread.

    /// Per cent of a context of 200,000 tokens that the newest usage figure leaves, 0 to 100; nothing without one.
    [[nodiscard]] static std::optional<int> contextFreePercent(std::string_view text);
    /// Whether the last line that isn't about progress ends a turn.
    [[nodiscard]] static bool transcriptLooksIdle(std::string_view text);
    /// Whether the last word of the user or the agent is an interruption's mark or an error of the agent's service,
    /// after which no event comes.
    [[nodiscard]] static bool transcriptLooksInterrupted(std::string_view text);

    QPointer<SessionManager> sessionManager; ///< Set by the owner; without it nothing is read.

private:
    void checkSession(const SessionPtr &session);
    [[nodiscard]] bool hasJustHadEvent(const VantrySession &session) const;

    const QString m_home;
    Scheduler &m_scheduler;
    const Clock &m_clock;
    Log &m_log;
    TranscriptTail m_tail;
    TranscriptLineReader m_lines;
    ScheduledTimer m_timer;
};

} // namespace vantry
