#include "panels/ChatFacts.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace vantry {

namespace {

/// The texts of the chat, for translation.
struct Words
{
    Q_DECLARE_TR_FUNCTIONS(Chat)
};

ChatViewModel::ContextLevel levelOf(int freePercent)
{
    if (freePercent >= 51)
        return ChatViewModel::Green;
    return freePercent >= 21 ? ChatViewModel::Yellow : ChatViewModel::Red;
}

ChatFacts::Header headerOf(const VantrySession &session)
{
    ChatFacts::Header header;
    header.title = session.displayName();
    header.isAlive = session.isAlive();
    if (const auto free = session.contextPercent(); free && session.isAlive()) {
        header.contextUsed = 100 - *free;
        header.contextText = Words::tr("~%1% used").arg(header.contextUsed);
        header.contextLevel = levelOf(*free);
    }
    return header;
}

QString typingTextOf(const VantrySession &session)
{
    if (!session.isAlive())
        return {};
    if (session.state() == SessionState::launching)
        return Words::tr("Starting...");
    return session.state() == SessionState::working ? Words::tr("Thinking...") : QString();
}

ChatFacts::Action actionOf(const SessionPtr &session, const SessionCallbacks &callbacks)
{
    if (!session->needsAttention())
        return {};
    if (session->state() == SessionState::hasQuestion)
        return { ChatViewModel::QuestionAction, {}, {}, false };
    return { ChatViewModel::PermissionAction, session->toolName().value_or(QString()),
             session->toolDetail().value_or(QString()), callbacks.hasAlwaysAllowSuggestions(session) };
}

std::optional<ChatRequest> requestOf(const SessionPtr &session, const SessionCallbacks &callbacks)
{
    if (!session->isAlive() || session->state() != SessionState::needsPermission)
        return std::nullopt;
    if (QString heldID = callbacks.heldRequestID(session); !heldID.isEmpty())
        return ChatRequest { std::move(heldID), {}, {}, {} };
    return ChatRequest { {},
                         session->toolName().value_or(QString()),
                         session->toolDetail().value_or(QString()),
                         session->lastAttentionDate() };
}

ChatQuestion questionOf(const HookEvent::Question &asked)
{
    ChatQuestion question { asked.question, asked.header.value_or(QString()), asked.multiSelect.value_or(false), {} };
    if (asked.options) {
        for (const HookEvent::QuestionOption &option : *asked.options)
            question.options.push_back({ option.label, option.description.value_or(QString()) });
    }
    return question;
}

std::vector<ChatQuestion> questionsOf(const VantrySession &session)
{
    std::vector<ChatQuestion> questions;
    if (session.needsAttention() && session.state() == SessionState::hasQuestion && session.questions()) {
        for (const HookEvent::Question &asked : *session.questions())
            questions.push_back(questionOf(asked));
    }
    return questions;
}

bool isSingleChoice(const std::vector<ChatQuestion> &questions)
{
    return questions.size() == 1 && !questions.front().multiSelect && !questions.front().options.empty();
}

/// A reason as the services give it, as a sentence of its own.
QString asSentence(QString reason)
{
    if (!reason.isEmpty())
        reason.front() = reason.front().toUpper();
    return reason;
}

ChatFacts::Answer answerOf(const SessionPtr &session, const std::vector<ChatQuestion> &questions,
                           const SessionCallbacks &callbacks)
{
    if (questions.empty())
        return {};
    if (const auto refusal = callbacks.refusalOfAnswer(session, 0))
        return { false, asSentence(*refusal) };
    if (!isSingleChoice(questions))
        return { false, Words::tr("Answer this in the session's terminal") };
    return { true, {} };
}

/// Why no text is taken now, short enough for the field.
QString reasonOf(const SessionPtr &session, const QString &refusal, const SessionCallbacks &callbacks)
{
    if (!callbacks.canType(session))
        return asSentence(refusal);
    switch (session->state()) {
    case SessionState::needsPermission:
        return Words::tr("Answer the request above first");
    case SessionState::hasQuestion:
        return Words::tr("Answer this in the session's terminal");
    default:
        return asSentence(refusal);
    }
}

ChatFacts::Input inputOf(const SessionPtr &session, const std::vector<ChatQuestion> &questions,
                         const SessionCallbacks &callbacks)
{
    const QString type = session->terminalType().value_or(QString()).toLower();
    ChatFacts::Input input;
    input.isShown = type == u"iterm2" || type == u"kitty" || callbacks.canType(session);
    if (!session->isAlive()) {
        input.placeholder = Words::tr("The session has finished");
    } else if (const auto refusal = callbacks.refusalOfText(session)) {
        input.placeholder = reasonOf(session, *refusal, callbacks);
    } else {
        input.isEnabled = true;
        input.placeholder =
            isSingleChoice(questions) ? Words::tr("Answer in your own words...") : Words::tr("Message...");
    }
    return input;
}

ChatFacts::Footer footerOf(const VantrySession &session)
{
    const QString type = session.terminalType().value_or(QString());
    if (type == u"vscode")
        return { Words::tr("Open in VS Code"), u"square.grid.2x2"_s };
    if (type == u"cursor")
        return { Words::tr("Open in Cursor"), u"square.grid.2x2"_s };
    return { Words::tr("Open in Terminal"), u"rectangle.inset.filled.and.cursorarrow"_s };
}

} // namespace

QVariantList ChatQuestion::optionList() const
{
    return toVariantList(options);
}

ChatFacts chatFacts(const SessionPtr &session, const SessionCallbacks &callbacks, const QString &home)
{
    std::vector<ChatQuestion> questions = questionsOf(*session);
    return { .header = headerOf(*session),
             .status = statusOf(*session),
             .infoRows = infoRowsOf(*session, callbacks.terminalName(session), home),
             .typingText = typingTextOf(*session),
             .action = actionOf(session, callbacks),
             .request = requestOf(session, callbacks),
             .questions = questions,
             .answer = answerOf(session, questions, callbacks),
             .input = inputOf(session, questions, callbacks),
             .footer = footerOf(*session) };
}

} // namespace vantry
