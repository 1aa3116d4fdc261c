#include "panels/ChatViewModel.h"

#include "base/Text.h"
#include "panels/ChatFacts.h"
#include "panels/ChatTranscript.h"
#include "panels/OpenableLink.h"

#include <QUuid>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace vantry {

namespace {

constexpr auto refreshInterval = 3s;
/// The agent writes its transcript a moment after its event; several events share one read.
constexpr auto afterEvent = 300ms;
/// How long new rows take to be laid out.
constexpr auto beforeScrolling = 50ms;
/// A second press within it is part of a double press, and not meant for what is asked next.
constexpr auto doublePress = 500ms;
/// How long it may take until an event tells that a question is no longer open.
constexpr auto patienceForAnswers = 3s;

} // namespace

ChatViewModel::ChatViewModel(PanelServices services, SessionCallbacks callbacks, SessionPtr session, QObject *parent)
    : QObject(parent)
    , m_services(std::move(services))
    , m_callbacks(std::move(callbacks))
    , m_session(std::move(session))
    , m_facts(std::make_unique<ChatFacts>(chatFacts(m_session, m_callbacks, m_services.home)))
    , m_dictation(m_services.makeDictation ? m_services.makeDictation() : nullptr)
{
    startTranscript();
    if (m_dictation)
        connectDictation();
    connect(&m_services.sessionChanges, &SessionChanges::changed, this, &ChatViewModel::takeChanges);
    connect(&m_messages, &ChatMessageModel::countChanged, this, &ChatViewModel::updateIsEmpty);
}

ChatViewModel::~ChatViewModel() = default;

void ChatViewModel::replaceSession(SessionPtr session)
{
    m_session = std::move(session);
    startTranscript();
    m_hasRead = false;
    updateIsEmpty();
    setShowKillConfirm(false);
    forgetAnswer();
    update();
    if (m_isVisible)
        refresh();
}

void ChatViewModel::setVisible(bool visible)
{
    if (std::exchange(m_isVisible, visible) == visible)
        return;
    m_refreshTimer.cancel();
    m_eventTimer.cancel();
    if (!visible) {
        if (m_isDictating)
            endDictation(draftAndTranscript());
        return;
    }
    m_refreshTimer = m_services.scheduler.every(refreshInterval, [this] { refresh(); });
    update();
    refresh();
}

// What is shown

QString ChatViewModel::title() const
{
    return m_facts->header.title;
}

bool ChatViewModel::isAlive() const
{
    return m_facts->header.isAlive;
}

int ChatViewModel::contextUsed() const
{
    return m_facts->header.contextUsed;
}

QString ChatViewModel::contextText() const
{
    return m_facts->header.contextText;
}

ChatViewModel::ContextLevel ChatViewModel::contextLevel() const
{
    return m_facts->header.contextLevel;
}

void ChatViewModel::setShowKillConfirm(bool value)
{
    if (std::exchange(m_showKillConfirm, value) != value)
        Q_EMIT showKillConfirmChanged();
}

void ChatViewModel::setShowSessionInfo(bool value)
{
    if (std::exchange(m_showSessionInfo, value) != value)
        Q_EMIT showSessionInfoChanged();
}

QString ChatViewModel::statusSymbol() const
{
    return m_facts->status.symbol;
}

QString ChatViewModel::statusText() const
{
    return m_facts->status.text;
}

ChatViewModel::StatusTone ChatViewModel::statusTone() const
{
    return m_facts->status.tone;
}

QVariantList ChatViewModel::infoRows() const
{
    return toVariantList(m_facts->infoRows);
}

QString ChatViewModel::typingText() const
{
    return m_facts->typingText;
}

ChatViewModel::ActionKind ChatViewModel::actionKind() const
{
    return m_facts->action.kind;
}

QString ChatViewModel::toolName() const
{
    return m_facts->action.toolName;
}

QString ChatViewModel::toolInput() const
{
    return m_facts->action.toolInput;
}

bool ChatViewModel::hasAlwaysAllow() const
{
    return m_facts->action.hasAlwaysAllow;
}

QVariantList ChatViewModel::questions() const
{
    return toVariantList(m_facts->questions);
}

bool ChatViewModel::canAnswer() const
{
    return m_facts->answer.isPossible && !m_answerTimer.isActive();
}

QString ChatViewModel::answerRefusal() const
{
    return m_facts->answer.refusal;
}

bool ChatViewModel::showsInputBar() const
{
    return m_facts->input.isShown;
}

bool ChatViewModel::inputEnabled() const
{
    return m_facts->input.isEnabled;
}

QString ChatViewModel::placeholder() const
{
    if (m_isDictating)
        return tr("Speak now...");
    return m_facts->input.placeholder;
}

void ChatViewModel::setTypedText(const QString &text)
{
    if (text == m_typedText)
        return;
    m_typedText = text;
    Q_EMIT typedTextChanged();
    updateCanSend();
}

QString ChatViewModel::footerText() const
{
    return m_facts->footer.text;
}

QString ChatViewModel::footerSymbol() const
{
    return m_facts->footer.symbol;
}

// What the user does

void ChatViewModel::send()
{
    update();
    if (!m_isDictating) {
        if (sendText(m_typedText))
            setTypedText({});
        return;
    }
    // The field holds the transcript of this dictation; until it listens, the service holds that of the last one.
    const bool isSent = sendText(m_typedText);
    endDictation(isSent ? m_draft : draftAndTranscript());
}

bool ChatViewModel::sendText(const QString &given)
{
    const QString text = trimmedWhitespace(given).toString();
    if (text.isEmpty() || !inputEnabled())
        return false;
    m_messages.appendPending({ .id = QUuid::createUuid().toString(QUuid::WithoutBraces),
                               .role = TranscriptMessage::Role::user,
                               .text = text,
                               .timestamp = m_services.clock.now(),
                               .toolName = {},
                               .toolSummary = {} });
    scrollSoon();
    m_callbacks.onSendText(m_session, text);
    return true;
}

void ChatViewModel::allow()
{
    if (!takeRequest())
        return;
    setAllowPressed(true);
    m_callbacks.onAllowSession(m_session);
}

void ChatViewModel::deny()
{
    if (takeRequest())
        m_callbacks.onDenySession(m_session, false);
}

void ChatViewModel::denyAndStop()
{
    if (takeRequest())
        m_callbacks.onDenySession(m_session, true);
}

void ChatViewModel::alwaysAllow()
{
    if (!takeRequest())
        return;
    setAllowPressed(true);
    m_callbacks.onAlwaysAllowSession(m_session);
}

void ChatViewModel::answer(int index)
{
    if (actionKind() != QuestionAction || m_answerTimer.isActive())
        return;
    if (m_facts->answer.isPossible) {
        m_answerTimer = m_services.scheduler.after(patienceForAnswers, [this] { Q_EMIT answerChanged(); });
        Q_EMIT answerChanged();
    }
    m_callbacks.onAnswerQuestion(m_session, index);
}

void ChatViewModel::focusTerminal()
{
    m_callbacks.onFocusSession(m_session);
}

void ChatViewModel::kill()
{
    setShowKillConfirm(false);
    m_callbacks.onKillSession(m_session);
}

void ChatViewModel::close()
{
    Q_EMIT closed();
}

void ChatViewModel::openLink(const QString &link)
{
    if (const auto url = openableLink(link))
        m_callbacks.openUrl(*url);
}

// Dictation

void ChatViewModel::connectDictation()
{
    connect(m_dictation.get(), &DictationService::transcriptChanged, this, [this] {
        if (m_isDictating)
            setTypedText(m_dictation->transcript());
    });
    // It may end by itself, with an error or without.
    const auto endWithIt = [this] {
        if (m_isDictating && !m_dictation->isListening())
            endDictation(draftAndTranscript());
    };
    connect(m_dictation.get(), &DictationService::isListeningChanged, this, endWithIt);
    connect(m_dictation.get(), &DictationService::errorChanged, this, [this, endWithIt] {
        if (m_dictation->error())
            endWithIt();
    });
}

void ChatViewModel::toggleDictation()
{
    if (m_isDictating)
        send();
    else if (m_dictation && inputEnabled())
        beginDictation();
}

void ChatViewModel::beginDictation()
{
    m_isDictating = true;
    m_draft = std::exchange(m_typedText, {});
    Q_EMIT isDictatingChanged();
    Q_EMIT inputChanged();
    Q_EMIT typedTextChanged();
    updateCanSend();
    m_dictation->requestAuthorization([this](bool isGranted) {
        if (isGranted && m_isDictating)
            m_dictation->start();
        // An error that is as it was before isn't told of again.
        if (m_isDictating && m_dictation->error())
            endDictation(draftAndTranscript());
    });
}

void ChatViewModel::endDictation(const QString &text)
{
    m_isDictating = false;
    m_dictation->stop();
    Q_EMIT isDictatingChanged();
    Q_EMIT inputChanged();
    setTypedText(text);
}

QString ChatViewModel::draftAndTranscript() const
{
    const bool needsBlank = !m_draft.isEmpty() && !m_draft.back().isSpace() && !m_typedText.isEmpty();
    return m_draft + (needsBlank ? u" "_s : QString()) + m_typedText;
}

// Following the session

void ChatViewModel::takeChanges(const QList<SessionPtr> &sessions)
{
    const auto found = std::ranges::find(sessions, m_session->id(), [](const auto &session) { return session->id(); });
    if (found == sessions.end())
        return;
    // A session that has ended and goes on has a new record.
    m_session = *found;
    update();
    if (m_isVisible && !m_eventTimer.isActive())
        m_eventTimer = m_services.scheduler.after(afterEvent, [this] { refresh(); });
}

void ChatViewModel::update()
{
    const ChatFacts old = std::exchange(*m_facts, chatFacts(m_session, m_callbacks, m_services.home));
    if (m_answered && m_facts->request != *m_answered && !m_pressTimer.isActive())
        forgetAnswer();
    if (m_facts->questions != old.questions)
        m_answerTimer.cancel();
    if (m_facts->header != old.header)
        Q_EMIT headerChanged();
    if (m_facts->status != old.status)
        Q_EMIT statusChanged();
    if (m_facts->infoRows != old.infoRows)
        Q_EMIT infoRowsChanged();
    if (m_facts->typingText != old.typingText)
        Q_EMIT typingTextChanged();
    if (m_facts->action != old.action)
        Q_EMIT actionChanged();
    if (m_facts->questions != old.questions)
        Q_EMIT questionsChanged();
    if (m_facts->answer != old.answer || m_facts->questions != old.questions)
        Q_EMIT answerChanged();
    if (m_facts->input != old.input)
        Q_EMIT inputChanged();
    if (m_facts->footer != old.footer)
        Q_EMIT footerChanged();
    if (m_isDictating && !inputEnabled())
        endDictation(draftAndTranscript());
    updateCanSend();
}

void ChatViewModel::updateCanSend()
{
    const bool can = inputEnabled() && !trimmedWhitespace(m_typedText).isEmpty();
    if (std::exchange(m_canSend, can) != can)
        Q_EMIT canSendChanged();
}

void ChatViewModel::updateIsEmpty()
{
    const bool isEmpty = m_hasRead && m_messages.count() == 0;
    if (std::exchange(m_isEmpty, isEmpty) != isEmpty)
        Q_EMIT isEmptyChanged();
}

void ChatViewModel::setAllowPressed(bool pressed)
{
    if (std::exchange(m_allowPressed, pressed) != pressed)
        Q_EMIT allowPressedChanged();
}

void ChatViewModel::forgetAnswer()
{
    m_answered.reset();
    m_pressTimer.cancel();
    setAllowPressed(false);
}

bool ChatViewModel::takeRequest()
{
    const std::optional<ChatRequest> shown = m_facts->request;
    update();
    if (!shown || m_facts->request != shown || m_answered)
        return false;
    m_answered = std::make_unique<ChatRequest>(*shown);
    m_pressTimer = m_services.scheduler.after(doublePress, [this] { update(); });
    return true;
}

// The transcript

void ChatViewModel::startTranscript()
{
    m_transcript = std::make_unique<ChatTranscript>(m_services.workers, m_services.mainQueue);
    m_transcript->onRead = [this](const std::vector<TranscriptMessage> &messages) { takeTranscript(messages); };
}

void ChatViewModel::refresh()
{
    if (const auto path = m_session->resolvedTranscriptPath(m_services.home))
        m_transcript->read(*path);
    else
        takeTranscript({});
}

void ChatViewModel::takeTranscript(const std::vector<TranscriptMessage> &messages)
{
    m_hasRead = true;
    // A transcript that can't be read for once leaves the list as it is.
    if (!messages.empty() && m_messages.takeTranscript(messages))
        scrollSoon();
    updateIsEmpty();
}

void ChatViewModel::scrollSoon()
{
    m_scrollTimer = m_services.scheduler.after(beforeScrolling, [this] { Q_EMIT scrollToEnd(); });
}

} // namespace vantry
