#include "sessions/SessionManager.h"

#include "base/Text.h"

#include <QDir>
#include <QHash>
#include <QPointer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace vantry {

namespace {

constexpr std::int64_t lowestPid = 2;
constexpr double startTimeTolerance = 1.0; ///< Seconds.
constexpr std::chrono::seconds longestSilence { 120 };
constexpr std::chrono::seconds finishedSessionsStay { 300 };
constexpr std::int64_t rowsKept = 1000;

bool isEmpty(const std::optional<QString> &text)
{
    return !text || text->isEmpty();
}

QString standardisedPath(const QString &path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

std::optional<QString> joined(const QStringList &words, QChar separator)
{
    return words.isEmpty() ? std::nullopt : std::optional(words.join(separator));
}

const std::optional<QString> &summaryOf(const VantrySession &session)
{
    return session.lastMessage() ? session.lastMessage() : session.lastPrompt();
}

void applyDirectory(const HookEvent &event, VantrySession &session)
{
    if (!isEmpty(event.projectDir)) {
        session.setCwd(event.projectDir);
        session.setProjectName(lastPathComponent(*event.projectDir));
    } else if (!isEmpty(event.cwd)) {
        session.setCwd(event.cwd);
        if (!session.projectName())
            session.setProjectName(lastPathComponent(*event.cwd));
    }
}

} // namespace

SessionManager::SessionManager(SessionStoring &store, ProcessChecking &processChecker, GitFacts &git,
                               const PendingPermissionStore &held, const Clock &clock, Log &log, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_processChecker(processChecker)
    , m_git(git)
    , m_clock(clock)
    , m_log(log)
    , m_launchTime(clock.now())
    , m_overlay(held)
{}

SessionManager::~SessionManager() = default;

SessionPtr SessionManager::session(const QString &id) const
{
    const auto found = std::ranges::find_if(m_sessions, [&](const SessionPtr &session) { return session->id() == id; });
    return found == m_sessions.cend() ? nullptr : *found;
}

SessionPtr SessionManager::latestAliveSession(const QString &directory) const
{
    const QString path = standardisedPath(directory);
    SessionPtr latest;
    for (const SessionPtr &session : m_sessions) {
        if (!session->isAlive() || !session->cwd() || standardisedPath(*session->cwd()) != path)
            continue;
        if (!latest || session->lastUpdated() > latest->lastUpdated())
            latest = session;
    }
    return latest;
}

void SessionManager::saveSession(const SessionPtr &session)
{
    if (session->id().startsWith(u"pending-"))
        return;
    m_store.queue().sync([&] { m_store.save(*session); });
}

// Events

void SessionManager::handleEvent(const HookEvent &event)
{
    const HookEventType type = event.eventType();
    const std::string_view name = rawValue(type);
    m_log.write(QStringLiteral("SessionManager.handleEvent: type=%1 session=%2")
                    .arg(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())), event.sessionID));
    if (type == HookEventType::sessionStart) {
        startSession(event);
    } else if (type != HookEventType::sessionEnd) {
        updateSession(event);
    } else if (const SessionPtr known = session(event.sessionID)) {
        // Also when it has finished: one that only vanished gets its `endedAt` by the agent's late word.
        markEnded(known);
    }
}

/// Also revives a finished session.
void SessionManager::startSession(const HookEvent &event)
{
    const SessionPtr known = session(event.sessionID);
    const SessionPtr session = known ? known : makeSession(event, SessionState::ready);
    if (known)
        applyCommonFields(event, *session);
    else
        sampleGitDiff(session);
    moveState(event, *session);
    session->setAlive(true);
    session->setLastUpdated(m_clock.now());
    if (!known)
        m_sessions.append(session);
    saveSession(session);
    if (session->pid())
        retireDuplicates(*session->pid(), session->id());
    publish();
}

void SessionManager::updateSession(const HookEvent &event)
{
    const SessionPtr session = sessionForEvent(event);
    if (!session)
        return;
    const EventReaction reaction = moveState(event, *session);
    if (event.eventType() == HookEventType::userPromptSubmit && !isEmpty(event.prompt))
        session->appendPrompt(*event.prompt);
    if (event.eventType() == HookEventType::postToolUse && event.toolName)
        session->appendTool(*event.toolName);
    if (reaction.samplesGitDiff)
        sampleGitDiff(session);

    session->setLastUpdated(m_clock.now());
    if (reaction.updatesSearchIndex)
        updateSearchIndex(*session);
    saveSession(session);
    publish();
    if (reaction.needsAttention && onNeedsAttention)
        onNeedsAttention(session, event);
}

SessionPtr SessionManager::makeSession(const HookEvent &event, SessionState state)
{
    const Date now = m_clock.now();
    VantrySession::Init init;
    init.id = event.sessionID;
    init.state = state;
    init.lastUpdated = now;
    init.startedAt = now;
    const auto session = std::make_shared<VantrySession>(std::move(init));
    applyCommonFields(event, *session);
    m_git.detectGitBranch(*session);
    return session;
}

/// The event's session, with the common fields applied; a new one when it isn't known, null when it has finished.
SessionPtr SessionManager::sessionForEvent(const HookEvent &event)
{
    if (const SessionPtr known = session(event.sessionID)) {
        if (!known->isAlive())
            return nullptr;
        applyCommonFields(event, *known);
        return known;
    }
    const SessionPtr session = makeSession(event, SessionState::working);
    m_sessions.append(session);
    if (session->pid())
        retireDuplicates(*session->pid(), session->id());
    return session;
}

/// All that an event knows but the tool, which belongs to the state machine. What an event doesn't carry stays.
void SessionManager::applyCommonFields(const HookEvent &event, VantrySession &session)
{
    if (event.terminalType)
        session.setTerminalType(event.terminalType);
    if (event.terminalSessionID)
        session.setTerminalSessionID(event.terminalSessionID);
    applyDirectory(event, session);
    if (!isEmpty(event.prompt))
        session.setLastPrompt(event.prompt);
    if (!isEmpty(event.transcriptPath))
        session.setTranscriptPath(event.transcriptPath);
    if (const auto pid = usablePid(event.pid, event.sessionID)) {
        session.setPid(pid);
        session.setPidStartTime(m_processChecker.processStartTime(*pid));
    }
    if (const auto shellPid = usablePid(event.shellPid, event.sessionID))
        session.setShellPid(shellPid);
}

std::optional<std::int64_t> SessionManager::usablePid(std::optional<std::int64_t> pid, const QString &sessionID)
{
    if (!pid || *pid < lowestPid)
        return std::nullopt;
    if (*pid > std::numeric_limits<std::int32_t>::max()) {
        m_log.write(QStringLiteral("SessionManager: ignoring PID %1 of session %2, it is beyond 32 bits")
                        .arg(QString::number(*pid), sessionID));
        return std::nullopt;
    }
    return pid;
}

EventReaction SessionManager::moveState(const HookEvent &event, VantrySession &session)
{
    SessionActivity said = m_overlay.before(event, session);
    const EventReaction reaction = applyEvent(event, m_clock.now(), said);
    m_overlay.after(event, reaction, session, said).writeTo(session);
    return reaction;
}

/// A PID belongs to one agent only.
void SessionManager::retireDuplicates(std::int64_t pid, const QString &keepingID)
{
    bool hasRetired = false;
    const QList<SessionPtr> sessions = m_sessions;
    for (const SessionPtr &session : sessions) {
        if (session->pid() != pid || session->id() == keepingID || !session->isAlive())
            continue;
        m_log.write(QStringLiteral("SessionManager: retiring session %1 — PID %2 now belongs to %3")
                        .arg(session->id(), QString::number(pid), keepingID));
        finish(*session);
        saveSession(session);
        hasRetired = true;
    }
    if (hasRetired)
        publish();
}

void SessionManager::finish(VantrySession &session)
{
    SessionActivity activity = m_overlay.uncover(session);
    activity.state = SessionState::ready;
    activity.writeTo(session);
    session.setAlive(false);
}

void SessionManager::updateSearchIndex(const VantrySession &session)
{
    m_store.updateSearchIndex(session.id(), joined(session.promptHistory(), u'\n'), joined(session.toolHistory(), u' '),
                              summaryOf(session));
}

void SessionManager::sampleGitDiff(const SessionPtr &session)
{
    if (!session->cwd())
        return;
    m_git.sampleGitDiff(session, [manager = QPointer(this)] {
        if (manager)
            manager->publish();
    });
}

void SessionManager::publish()
{
    Q_EMIT sessionsChanged();
}

// Held permission requests

void SessionManager::answered(const SessionPtr &session, SessionState next)
{
    m_overlay.afterAnswer(*session, next).writeTo(*session);
    session->setLastUpdated(m_clock.now());
    saveSession(session);
    publish();
}

void SessionManager::turnEnded(const SessionPtr &session)
{
    session->setState(SessionState::ready);
    session->setLastUpdated(m_clock.now());
    saveSession(session);
    publish();
}

void SessionManager::heldRequestsChanged(const QString &sessionID)
{
    const SessionPtr session = this->session(sessionID);
    if (!session)
        return;
    const SessionActivity shown = m_overlay.afterChange(*session);
    if (shown == SessionActivity::of(*session))
        return;
    shown.writeTo(*session);
    saveSession(session);
    publish();
}

// Restore, liveness and the end of sessions

void SessionManager::restoreSessions()
{
    const QList<SessionPtr> rows = m_store.queue().sync([&] {
        m_store.open();
        return m_store.loadAll(std::nullopt);
    });
    int confirmed = 0;
    for (const SessionPtr &row : rows) {
        if (session(row->id()))
            continue;
        row->setAlive(row->isAlive() && isRunning(row->pid(), row->pidStartTime()));
        if (!row->isAlive())
            continue;
        ++confirmed;
        m_sessions.append(row);
    }
    resolvePidConflicts();
    m_log.write(QStringLiteral("SessionManager: loaded %1 sessions from DB (%2 confirmed alive via PID)")
                    .arg(rows.size())
                    .arg(confirmed));
    publish();
    catchUpWithIndex(rows);
}

/// Of sessions that share a PID the one with the latest `lastUpdated` stays alive.
void SessionManager::resolvePidConflicts()
{
    QHash<std::int64_t, SessionPtr> owners;
    for (const SessionPtr &session : std::as_const(m_sessions)) {
        if (!session->isAlive() || !session->pid())
            continue;
        SessionPtr &owner = owners[*session->pid()];
        if (owner && session->lastUpdated() <= owner->lastUpdated()) {
            session->setAlive(false);
            continue;
        }
        if (owner)
            owner->setAlive(false);
        owner = session;
    }
}

void SessionManager::catchUpWithIndex(const QList<SessionPtr> &rows)
{
    const QStringList ids = m_store.queue().sync([&] { return m_store.sessionsNeedingIndex(); });
    if (ids.isEmpty())
        return;
    m_log.write(QStringLiteral("SessionManager: catch-up indexing %1 sessions").arg(ids.size()));
    QHash<QString, SessionPtr> rowsById;
    for (const SessionPtr &row : rows)
        rowsById.insert(row->id(), row);
    for (const QString &id : ids) {
        // What is older than the rows gets an empty entry, so that no later start looks for it again.
        if (const SessionPtr row = rowsById.value(id))
            m_store.updateSearchIndex(id, row->lastPrompt(), std::nullopt, summaryOf(*row));
        else
            m_store.updateSearchIndex(id, std::nullopt, std::nullopt, std::nullopt);
    }
}

bool SessionManager::isRunning(std::optional<std::int64_t> pid, std::optional<double> startTime) const
{
    if (!pid || *pid < lowestPid || !startTime)
        return false;
    const std::optional<double> actual = m_processChecker.processStartTime(*pid);
    return actual && std::abs(*actual - *startTime) < startTimeTolerance;
}

void SessionManager::checkLiveness()
{
    bool hasChanged = false;
    const QList<SessionPtr> sessions = m_sessions;
    for (const SessionPtr &session : sessions) {
        if (!session->isAlive())
            continue;
        if (isStillAlive(*session)) {
            sampleGitDiff(session);
            continue;
        }
        finish(*session);
        session->setLastUpdated(m_clock.now());
        saveSession(session);
        hasChanged = true;
    }
    if (hasChanged)
        publish();
}

bool SessionManager::isStillAlive(const VantrySession &session) const
{
    const std::optional<std::int64_t> pid = session.pid();
    if (pid && *pid >= lowestPid) {
        if (isRunning(pid, session.pidStartTime()))
            return true;
        m_log.write(QStringLiteral("SessionManager: PID %1 for session %2 is no longer alive")
                        .arg(QString::number(*pid), session.id()));
        return false;
    }
    if (m_clock.now() - session.lastUpdated() <= longestSilence)
        return true;
    m_log.write(QStringLiteral("SessionManager: session %1 has no verified PID and timed out").arg(session.id()));
    return false;
}

void SessionManager::cleanUpSessions()
{
    const Date now = m_clock.now();
    const qsizetype removed = m_sessions.removeIf([&](const SessionPtr &session) {
        return !session->isAlive() && now - session->lastUpdated() > finishedSessionsStay;
    });
    if (removed > 0)
        publish();
    m_store.queue().sync([&] { m_store.prune(rowsKept); });
}

void SessionManager::killSession(const SessionPtr &session)
{
    const std::optional<std::int64_t> pid = session->pid();
    const std::optional<double> startTime = session->pidStartTime();
    if (!pid || *pid < lowestPid || !startTime) {
        m_log.write(QStringLiteral("SessionManager: cannot kill session %1 — no verified PID").arg(session->id()));
    } else if (!isRunning(pid, startTime)) {
        m_log.write(QStringLiteral("SessionManager: PID %1 no longer matches session %2")
                        .arg(QString::number(*pid), session->id()));
    } else {
        m_log.write(
            QStringLiteral("SessionManager: killing session %1 (PID %2)").arg(session->id(), QString::number(*pid)));
        m_processChecker.terminate(*pid, *startTime);
    }
    markEnded(session);
}

void SessionManager::markEnded(const SessionPtr &session)
{
    finish(*session);
    const Date now = m_clock.now();
    session->setLastUpdated(now);
    session->setEndedAt(now);
    updateSearchIndex(*session);
    saveSession(session);
    publish();
}

} // namespace vantry
