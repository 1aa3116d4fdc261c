#include "notch/NotchPeekCardModel.h"

#include "base/Text.h"
#include "notch/PeekText.h"

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// More than fits into the card at any scale; laying out a longer line would take its time.
constexpr qsizetype longestLine = 200;

/// One line of a text from outside.
QString cardLine(const QString &text)
{
    const QStringView start = firstCharacters(text, longestLine);
    return start.toString().simplified() + (start.size() < text.size() ? u"…"_s : QString());
}

} // namespace

NotchPeekCardModel::NotchPeekCardModel(SessionPtr session, std::function<QString(const SessionPtr &)> heldRequestID)
    : m_session(std::move(session))
    , m_heldRequestID(std::move(heldRequestID))
    , m_facts(currentFacts())
{
    connect(m_session.get(), &VantrySession::changed, this, &NotchPeekCardModel::refresh);
}

QString NotchPeekCardModel::accessibleText() const
{
    return name() + u", "_s + status();
}

void NotchPeekCardModel::refresh()
{
    Facts facts = currentFacts();
    if (facts == m_facts)
        return;
    m_facts = std::move(facts);
    Q_EMIT changed();
}

void NotchPeekCardModel::tap()
{
    if (onTap)
        onTap();
}

void NotchPeekCardModel::allow()
{
    if (onAllow)
        onAllow();
}

NotchPeekCardModel::Facts NotchPeekCardModel::currentFacts() const
{
    const bool needsPermission = m_session->state() == SessionState::needsPermission;
    Facts facts;
    facts.symbol = needsPermission ? u"exclamationmark.triangle.fill"_s : u"questionmark.circle.fill"_s;
    facts.name = cardLine(m_session->displayName());
    facts.status = cardLine(peekStatusText(*m_session));
    facts.canAllow = needsPermission && m_session->isAlive();
    if (facts.canAllow)
        facts.request = m_heldRequestID(m_session) + u'\n' + m_session->toolName().value_or(QString()) + u'\n' +
                        m_session->toolDetail().value_or(QString());
    return facts;
}

} // namespace vantry
