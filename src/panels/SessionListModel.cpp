#include "panels/SessionListModel.h"

#include "panels/SessionRowFacts.h"
#include "sessions/SessionText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::seconds attentionHold = 3s;
/// A second press that comes so soon was not meant for the request that has come up in the meantime.
constexpr std::chrono::milliseconds doublePress = 400ms;

QHash<int, QByteArray> roleNames()
{
    using Model = SessionListModel;
    return { { Model::SessionIDRole, "sessionID" },
             { Model::SectionRole, "section" },
             { Model::NameRole, "name" },
             { Model::BranchRole, "branch" },
             { Model::LinesAddedRole, "linesAdded" },
             { Model::LinesRemovedRole, "linesRemoved" },
             { Model::LinesAddedTextRole, "linesAddedText" },
             { Model::LinesRemovedTextRole, "linesRemovedText" },
             { Model::ContextUsedRole, "contextUsed" },
             { Model::IconRole, "icon" },
             { Model::IsAttentionRole, "isAttention" },
             { Model::ShowsPermissionRole, "showsPermission" },
             { Model::ShowsQuestionRole, "showsQuestion" },
             { Model::ToolNameRole, "toolName" },
             { Model::ToolDetailRole, "toolDetail" },
             { Model::StatusLineRole, "statusLine" },
             { Model::ElapsedTextRole, "elapsedText" },
             { Model::OptionsRole, "options" },
             { Model::CanAnswerRole, "canAnswer" },
             { Model::AnswerRefusalRole, "answerRefusal" },
             { Model::HasAlwaysAllowRole, "hasAlwaysAllow" },
             { Model::AllowPressedRole, "allowPressed" },
             { Model::AccessibleTextRole, "accessibleText" } };
}

int countIn(SessionSection section, const QList<SessionRowFacts> &rows)
{
    return static_cast<int>(std::ranges::count(rows, section, &SessionRowFacts::section));
}

} // namespace

SessionListModel::SessionListModel(const PanelServices &services, SessionCallbacks callbacks, QObject *parent)
    : RowListModel(vantry::roleNames(), parent)
    , m_services(services)
    , m_callbacks(std::move(callbacks))
{
    connect(&services.sessionChanges, &SessionChanges::removed, this, &SessionListModel::refresh);
    connect(&services.sessionChanges, &SessionChanges::changed, this, &SessionListModel::refresh);
    refresh();
}

SessionListModel::~SessionListModel() = default;

int SessionListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant SessionListModel::data(const QModelIndex &index, int role) const
{
    return checkIndex(index, CheckIndexOption::IndexIsValid) ? m_rows.at(index.row()).value(role) : QVariant();
}

double SessionListModel::attentionHoldTime() const
{
    return Seconds(attentionHold).count();
}

void SessionListModel::setVisible(bool visible)
{
    if (std::exchange(m_isVisible, visible) == visible)
        return;
    // Also for what the time alone has changed since it was visible last.
    refresh();
}

void SessionListModel::allow(const QString &sessionID)
{
    answerPermission(sessionID, [this](const SessionPtr &session) {
        // The row shows it before anything else happens.
        m_allowed[session->id()] = factsOf(session).request;
        refresh();
        m_callbacks.onAllowSession(session);
    });
}

void SessionListModel::deny(const QString &sessionID)
{
    answerPermission(sessionID, [this](const SessionPtr &session) { m_callbacks.onDenySession(session, false); });
}

void SessionListModel::alwaysAllow(const QString &sessionID)
{
    answerPermission(sessionID, m_callbacks.onAlwaysAllowSession);
}

void SessionListModel::answer(const QString &sessionID, int index)
{
    const SessionPtr session = answerableSession(sessionID);
    if (!session || index < 0 || index >= factsOf(session).options.size())
        return;
    noteAnswer(sessionID);
    m_callbacks.onAnswerQuestion(session, index);
    refresh();
}

void SessionListModel::focusTerminal(const QString &sessionID)
{
    if (const SessionPtr session = aliveSession(sessionID))
        m_callbacks.onFocusSession(session);
}

void SessionListModel::terminate(const QString &sessionID)
{
    if (const SessionPtr session = aliveSession(sessionID))
        m_callbacks.onKillSession(session);
}

QString SessionListModel::sectionTitle(const QString &section) const
{
    if (section == sectionName(SessionSection::Attention))
        return tr("Needs Attention");
    if (section == sectionName(SessionSection::Ready))
        return tr("Ready");
    return tr("Working");
}

int SessionListModel::sectionCount(const QString &section) const
{
    if (section == sectionName(SessionSection::Attention))
        return m_attentionCount;
    if (section == sectionName(SessionSection::Ready))
        return m_readyCount;
    return m_workingCount;
}

void SessionListModel::refresh()
{
    m_allowed.removeIf([this](const QHash<QString, QString>::iterator &entry) {
        const SessionPtr session = aliveSession(entry.key());
        return !session || session->state() != SessionState::needsPermission;
    });
    const QStringList announcements = followWaiting();
    const QList<SessionRowFacts> rows = currentRows();
    replaceRows(m_rows, rows);
    setCounts(rows);
    scheduleRefresh();
    // What began to wait unseen is read as a part of the list.
    if (!m_isVisible)
        return;
    for (const QString &text : announcements)
        Q_EMIT announcement(text);
}

/// The alive sessions, section by section, each in the manager's order.
QList<SessionRowFacts> SessionListModel::currentRows() const
{
    QList<SessionRowFacts> rows;
    for (const SessionPtr &session : m_services.sessionManager.sessions()) {
        if (session->isAlive())
            rows.append(factsOf(session));
    }
    std::ranges::stable_sort(rows, {}, &SessionRowFacts::section);
    return rows;
}

SessionRowFacts SessionListModel::factsOf(const SessionPtr &session) const
{
    return SessionRowFacts::of(
        session, m_callbacks,
        { m_services.clock.now(), holdLeft(*session).has_value(), m_allowed.value(session->id()) });
}

void SessionListModel::setCounts(const QList<SessionRowFacts> &rows)
{
    const int attention = countIn(SessionSection::Attention, rows);
    const int ready = countIn(SessionSection::Ready, rows);
    const int working = countIn(SessionSection::Working, rows);
    if (std::exchange(m_attentionCount, attention) != attention)
        Q_EMIT attentionCountChanged();
    if (std::exchange(m_readyCount, ready) != ready)
        Q_EMIT readyCountChanged();
    if (std::exchange(m_workingCount, working) != working)
        Q_EMIT workingCountChanged();
}

QStringList SessionListModel::followWaiting()
{
    const MonotonicTime now = m_services.clock.monotonicNow();
    m_answers.removeIf(
        [now](const QHash<QString, MonotonicTime>::iterator &answer) { return now - answer.value() >= attentionHold; });
    QStringList announcements;
    QSet<QString> waiting;
    for (const SessionPtr &session : m_services.sessionManager.sessions()) {
        const QString &id = session->id();
        if (session->needsAttention()) {
            waiting.insert(id);
            if (!m_waiting.contains(id))
                announcements.append(session->displayName() + u", "_s + session->statusText());
        } else if (session->isAlive() && m_waiting.contains(id)) {
            m_answers.insert(id, now);
        }
    }
    m_waiting = std::move(waiting);
    return announcements;
}

std::optional<std::chrono::nanoseconds> SessionListModel::holdLeft(const VantrySession &session) const
{
    if (session.needsAttention())
        return std::nullopt;
    std::chrono::nanoseconds left { 0 };
    if (session.lastAttentionDate())
        left = *session.lastAttentionDate() + attentionHold - m_services.clock.now();
    if (const auto answer = m_answers.constFind(session.id()); answer != m_answers.cend())
        left = std::max<std::chrono::nanoseconds>(left, *answer + attentionHold - m_services.clock.monotonicNow());
    return left.count() > 0 ? std::optional(left) : std::nullopt;
}

void SessionListModel::scheduleRefresh()
{
    m_refreshTimer.cancel();
    if (!m_isVisible || m_rows.isEmpty())
        return;
    const Date now = m_services.clock.now();
    std::chrono::nanoseconds rest = longestRest;
    for (const SessionPtr &session : m_services.sessionManager.sessions()) {
        if (!session->isAlive())
            continue;
        rest = std::min({ rest, timeAgoTextLasts(session->lastUpdated(), now), holdLeft(*session).value_or(rest) });
    }
    m_refreshTimer =
        m_services.scheduler.after(std::chrono::ceil<std::chrono::milliseconds>(rest), [this] { refresh(); });
}

SessionPtr SessionListModel::aliveSession(const QString &sessionID) const
{
    SessionPtr session = m_services.sessionManager.session(sessionID);
    return session && session->isAlive() ? session : nullptr;
}

SessionPtr SessionListModel::answerableSession(const QString &sessionID) const
{
    if (m_lastAnswered == sessionID && m_services.clock.monotonicNow() - m_lastAnswerAt < doublePress)
        return nullptr;
    const SessionPtr session = aliveSession(sessionID);
    const auto row = std::ranges::find(m_rows, sessionID, &SessionRowFacts::id);
    if (!session || row == m_rows.cend())
        return nullptr;
    const SessionRowFacts now = factsOf(session);
    const bool isShown = now.request == row->request && now.options == row->options;
    return isShown && !now.allowPressed ? session : nullptr;
}

void SessionListModel::answerPermission(const QString &sessionID, const std::function<void(const SessionPtr &)> &answer)
{
    const SessionPtr session = answerableSession(sessionID);
    if (!session || !factsOf(session).showsPermission)
        return;
    noteAnswer(sessionID);
    answer(session);
    refresh();
}

void SessionListModel::noteAnswer(const QString &sessionID)
{
    m_lastAnswered = sessionID;
    m_lastAnswerAt = m_services.clock.monotonicNow();
}

} // namespace vantry
