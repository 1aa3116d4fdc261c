#include "panels/SessionRowFacts.h"

#include "base/Text.h"
#include "sessions/SessionText.h"

#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vantry {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(SessionRowFacts)
};

SessionSection sectionOf(const VantrySession &session, bool isHeld)
{
    if (session.needsAttention() || isHeld)
        return SessionSection::Attention;
    return session.state() == SessionState::ready ? SessionSection::Ready : SessionSection::Working;
}

SessionListModel::Icon iconOf(const VantrySession &session, SessionSection section)
{
    switch (session.state()) {
    case SessionState::needsPermission:
        return SessionListModel::PermissionIcon;
    case SessionState::hasQuestion:
        return SessionListModel::QuestionIcon;
    case SessionState::ready:
        return section == SessionSection::Attention ? SessionListModel::AnsweredIcon : SessionListModel::ReadyIcon;
    case SessionState::working:
        return section == SessionSection::Attention ? SessionListModel::AnsweredIcon : SessionListModel::WorkingIcon;
    case SessionState::launching:
        return section == SessionSection::Attention ? SessionListModel::AnsweredIcon : SessionListModel::LaunchingIcon;
    }
    return SessionListModel::WorkingIcon;
}

/// A held request has a name; one that stands in the terminal alone is told by when it came and what it is about.
QString requestOf(const SessionPtr &session, const SessionCallbacks &callbacks)
{
    if (QString held = callbacks.heldRequestID(session); !held.isEmpty())
        return held;
    const auto attention = session->lastAttentionDate().value_or(Date());
    return QString::number(attention.time_since_epoch().count()) + u'\n' + session->toolName().value_or(QString()) +
           u'\n' + session->toolDetail().value_or(QString());
}

QString statusLineOf(const VantrySession &session)
{
    if (session.state() == SessionState::hasQuestion)
        return Texts::tr("Waiting for your answer");
    if (session.state() == SessionState::launching)
        return session.statusText();
    if (const auto line = session.previewLine())
        return *line;
    return session.state() == SessionState::needsPermission ? session.statusText() : QString();
}

/// The answers that can be given with one press: those of one question with a single choice, where its terminal takes
/// them.
void addAnswers(const SessionPtr &session, const SessionCallbacks &callbacks, SessionRowFacts &facts)
{
    const auto &questions = session->questions();
    if (!questions || questions->empty())
        return;
    const HookEvent::Question &first = questions->front();
    const auto count = first.options ? static_cast<int>(std::min<std::size_t>(first.options->size(), 100)) : 0;
    // Where the last one can be taken, the others can, too.
    if (const auto refusal = callbacks.refusalOfAnswer(session, std::max(0, count - 1))) {
        facts.answerRefusal = *refusal;
        return;
    }
    if (questions->size() != 1 || first.multiSelect.value_or(false))
        return;
    for (int i = 0; i < count; ++i)
        facts.options.append(first.options->at(static_cast<std::size_t>(i)).label);
}

QString linesText(int added, int removed)
{
    if (added > 0 && removed > 0)
        return added == 1 ? Texts::tr("1 line added, %1 removed").arg(removed)
                          : Texts::tr("%1 lines added, %2 removed").arg(added).arg(removed);
    if (added > 0)
        return added == 1 ? Texts::tr("1 line added") : Texts::tr("%1 lines added").arg(added);
    if (removed > 0)
        return removed == 1 ? Texts::tr("1 line removed") : Texts::tr("%1 lines removed").arg(removed);
    return {};
}

QString stateText(const VantrySession &session, const SessionRowFacts &facts)
{
    switch (session.state()) {
    case SessionState::needsPermission:
        return Texts::tr("Needs permission");
    case SessionState::hasQuestion:
        return Texts::tr("Waiting for your answer");
    default:
        return facts.icon == SessionListModel::AnsweredIcon ? Texts::tr("Answered") : session.statusText();
    }
}

QString accessibleTextOf(const VantrySession &session, const SessionRowFacts &facts)
{
    QStringList parts { facts.name, stateText(session, facts) };
    if (facts.showsPermission)
        parts << facts.toolName << facts.toolDetail;
    parts << facts.branch << linesText(facts.linesAdded, facts.linesRemoved);
    if (facts.contextUsed >= 0)
        parts << Texts::tr("%1% context used").arg(facts.contextUsed);
    parts << facts.elapsedText;
    parts.removeAll(QString());
    return parts.join(u", "_s);
}

} // namespace

QString sectionName(SessionSection section)
{
    switch (section) {
    case SessionSection::Attention:
        return u"attention"_s;
    case SessionSection::Ready:
        return u"ready"_s;
    case SessionSection::Working:
        return u"working"_s;
    }
    return {};
}

QString lineCountText(QChar sign, int count)
{
    constexpr int shortened = 10'000;
    if (count <= 0)
        return {};
    if (count < shortened)
        return sign + QString::number(count);
    return sign + QString::number(count / 1'000) + u'k';
}

SessionRowFacts SessionRowFacts::of(const SessionPtr &session, const SessionCallbacks &callbacks,
                                    const Context &context)
{
    SessionRowFacts facts;
    facts.id = session->id();
    facts.section = sectionOf(*session, context.isHeld);
    facts.name = session->displayName();
    facts.branch = session->gitBranch().value_or(QString());
    facts.linesAdded = std::max(0, session->gitLinesAdded().value_or(0));
    facts.linesRemoved = std::max(0, session->gitLinesRemoved().value_or(0));
    if (session->contextPercent())
        facts.contextUsed = 100 - *session->contextPercent();
    facts.icon = iconOf(*session, facts.section);
    facts.elapsedText = session->elapsedText(context.now);
    facts.showsPermission = session->state() == SessionState::needsPermission && session->toolName();
    facts.showsQuestion = session->state() == SessionState::hasQuestion;
    if (facts.showsPermission) {
        facts.toolName = *session->toolName();
        facts.toolDetail = firstMeaningfulLine(session->toolDetail().value_or(QString())).value_or(QString());
        facts.hasAlwaysAllow = callbacks.hasAlwaysAllowSuggestions(session);
        facts.request = requestOf(session, callbacks);
        facts.allowPressed = facts.request == context.allowed;
    } else {
        facts.statusLine = statusLineOf(*session);
    }
    if (facts.showsQuestion)
        addAnswers(session, callbacks, facts);
    facts.accessibleText = accessibleTextOf(*session, facts);
    return facts;
}

QVariant SessionRowFacts::value(int role) const
{
    using Model = SessionListModel;
    switch (role) {
    case Model::SessionIDRole:
        return id;
    case Model::SectionRole:
        return sectionName(section);
    case Model::NameRole:
        return name;
    case Model::BranchRole:
        return branch;
    case Model::LinesAddedRole:
        return linesAdded;
    case Model::LinesRemovedRole:
        return linesRemoved;
    case Model::LinesAddedTextRole:
        return lineCountText(u'+', linesAdded);
    case Model::LinesRemovedTextRole:
        return lineCountText(u'-', linesRemoved);
    case Model::ContextUsedRole:
        return contextUsed;
    case Model::IconRole:
        return static_cast<int>(icon);
    case Model::IsAttentionRole:
        return section == SessionSection::Attention;
    case Model::ShowsPermissionRole:
        return showsPermission;
    case Model::ShowsQuestionRole:
        return showsQuestion;
    case Model::ToolNameRole:
        return toolName;
    case Model::ToolDetailRole:
        return toolDetail;
    case Model::StatusLineRole:
        return statusLine;
    case Model::ElapsedTextRole:
        return elapsedText;
    case Model::OptionsRole:
        return options;
    case Model::CanAnswerRole:
        return !options.isEmpty();
    case Model::AnswerRefusalRole:
        return answerRefusal;
    case Model::HasAlwaysAllowRole:
        return hasAlwaysAllow;
    case Model::AllowPressedRole:
        return allowPressed;
    case Model::AccessibleTextRole:
        return accessibleText;
    default:
        return {};
    }
}

} // namespace vantry
