#include "notch/NotchViewModel.h"

#include "notch/PeekText.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

bool waitsForUser(SessionState state)
{
    return state == SessionState::needsPermission || state == SessionState::hasQuestion;
}

} // namespace

NotchViewModel::NotchViewModel(SessionManager &sessionManager, Scheduler &scheduler, SessionCallbacks callbacks,
                               MakePanel makePanel)
    : m_sessionManager(sessionManager)
    , m_scheduler(scheduler)
    , m_callbacks(std::move(callbacks))
    , m_makePanel(std::move(makePanel))
{
    refresh();
}

NotchViewModel::~NotchViewModel() = default;

NotchViewModel::Glyph NotchViewModel::glyph() const
{
    if (mostUrgentState() == SessionState::needsPermission)
        return Permission;
    if (mostUrgentState() == SessionState::hasQuestion)
        return Question;
    return hasWorkingSessions() ? Working : Idle;
}

QString NotchViewModel::countText() const
{
    return attentionCount() < 1 ? QString() : QString::number(attentionCount());
}

QString NotchViewModel::accessibleText() const
{
    const QString count = attentionCount() > 1 ? u", "_s + countText() : QString();
    switch (glyph()) {
    case Permission:
        return tr("Needs permission") + count;
    case Question:
        return tr("Has a question") + count;
    case Working:
        return tr("Working");
    case Idle:
        break;
    }
    return u"Vantry"_s;
}

MenuBarViewModel *NotchViewModel::panel()
{
    if (!m_panel && m_makePanel) {
        m_panel = m_makePanel();
        m_panel->setOverrideWidth(panelWidth);
        m_panel->setOverrideHeight(panelHeight);
        connect(m_panel.get(), &MenuBarViewModel::closeRequested, this, &NotchViewModel::closeRequested);
    }
    return m_panel.get();
}

void NotchViewModel::refresh()
{
    Facts facts = factsOf(m_sessionManager.sessions());
    if (facts != m_facts) {
        const bool isOtherCount = facts.attentionCount != m_facts.attentionCount;
        m_facts = std::move(facts);
        Q_EMIT changed();
        if (isOtherCount)
            Q_EMIT attentionCountChanged();
    }
    if (m_peek.session && m_peek.isShowing && !waitsForUser(m_peek.session->state()))
        clearPeek();
}

void NotchViewModel::showPeek(const SessionPtr &session)
{
    setPeek({ .isPeekMode = true, .isShowing = true, .session = session, .message = vantry::peekMessage(*session) });
    m_peekDismissal = m_scheduler.after(peekDuration, [this] { clearPeek(); });
}

void NotchViewModel::clearPeek()
{
    m_peekDismissal.cancel();
    setPeek({});
}

void NotchViewModel::leavePeekMode()
{
    Peek peek = m_peek;
    peek.isPeekMode = false;
    setPeek(peek);
}

void NotchViewModel::setPanelVisible(bool visible)
{
    if (MenuBarViewModel *shown = visible ? panel() : m_panel.get())
        shown->setVisible(visible);
}

NotchViewModel::Facts NotchViewModel::factsOf(const QList<SessionPtr> &all)
{
    Facts facts;
    for (const SessionPtr &session : all) {
        if (!session->isAlive())
            continue;
        const SessionState state = session->state();
        facts.sessions.append(session);
        facts.hasAttention = facts.hasAttention || waitsForUser(state) || state == SessionState::ready;
        facts.attentionCount += waitsForUser(state) ? 1 : 0;
        facts.hasWorkingSessions =
            facts.hasWorkingSessions || state == SessionState::working || state == SessionState::launching;
        if (waitsForUser(state) && facts.mostUrgentState != SessionState::needsPermission)
            facts.mostUrgentState = state;
    }
    return facts;
}

void NotchViewModel::setPeek(const Peek &peek)
{
    if (peek == m_peek)
        return;
    m_peek = peek;
    Q_EMIT peekChanged();
}

} // namespace vantry
