#include "telegram/TelegramPoll.h"

#include "base/Text.h"
#include "telegram/TelegramService.h"

#include <QPointer>

#include <algorithm>
#include <utility>
#include <variant>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr Seconds firstBackoff { 2.0 };
constexpr Seconds longestBackoff { 30.0 };
constexpr qsizetype mostNameCharacters = 64;

/// Hands a session a topic for a callback.
std::function<void(const TelegramService &)> newSession(const QString &prompt, std::int64_t topicID)
{
    return [prompt, topicID](const TelegramService &service) {
        if (const auto call = service.onNewSession)
            call(prompt, topicID);
    };
}

} // namespace

TelegramPoll::TelegramPoll(TelegramService &service)
    : QObject(&service)
    , m_service(service)
    , m_requests(std::make_unique<QObject>())
{}

void TelegramPoll::poll()
{
    m_service.getUpdates([this](std::optional<std::vector<TelegramUpdate>> updates) { take(std::move(updates)); },
                         *m_requests);
}

void TelegramPoll::cancel()
{
    m_requests.reset();
    m_wait.cancel();
    deleteLater();
}

void TelegramPoll::take(std::optional<std::vector<TelegramUpdate>> updates)
{
    if (!updates) {
        waitAfterFailure();
        return;
    }
    m_backoff = Seconds::zero();
    m_updates = *std::move(updates);
    m_next = 0;
    handleRest();
}

void TelegramPoll::waitAfterFailure()
{
    m_backoff = m_backoff == Seconds::zero() ? firstBackoff : std::min(2 * m_backoff, longestBackoff);
    m_wait = m_service.m_services.scheduler.after(std::chrono::duration_cast<std::chrono::milliseconds>(m_backoff),
                                                  [this] { poll(); });
}

void TelegramPoll::handleRest()
{
    // Whoever is told of a change may cancel this.
    while (m_requests && m_next < m_updates.size()) {
        const TelegramUpdate &update = m_updates[m_next++];
        // First, so that an update is never seen twice, whatever comes of it.
        m_service.takeUpdate(update.updateID);
        if (!m_requests || carryOut(update) == Handling::GoesOn)
            return;
    }
    if (m_requests)
        poll();
}

TelegramPoll::Handling TelegramPoll::carryOut(const TelegramUpdate &update)
{
    const TelegramCommand command = commandOf(update, m_service.chatID(), m_service.sessionTopics());
    if (const auto *greeting = std::get_if<telegram::Greet>(&command)) {
        greet(*greeting);
        return Handling::GoesOn;
    }
    if (const auto *reply = std::get_if<telegram::Reply>(&command)) {
        callLater([reply = *reply](const TelegramService &service) {
            if (const auto call = service.onReply)
                call(reply.sessionKey, reply.text);
        });
        return Handling::Finished;
    }
    if (const auto *wanted = std::get_if<telegram::NewSession>(&command))
        return launch(*wanted);
    if (const auto *chosen = std::get_if<telegram::Answer>(&command)) {
        answer(update, *chosen);
        return Handling::GoesOn;
    }
    if (const auto *allowed = std::get_if<telegram::Allow>(&command)) {
        acknowledge(update, u"✅ Allowed"_s, [this, id = allowed->sessionID] {
            callLater([id](const TelegramService &service) {
                if (const auto call = service.onAllow)
                    call(id);
            });
        });
        return Handling::GoesOn;
    }
    if (std::holds_alternative<telegram::Deny>(command)) {
        acknowledge(update, u"❌ Denied"_s, [] {});
        return Handling::GoesOn;
    }
    return Handling::Finished;
}

void TelegramPoll::greet(const telegram::Greet &command)
{
    const QString text = u"Vantry connected.\n\nYour chat ID: "_s + command.chatID +
                         u"\n\nPaste this into Vantry Settings > Telegram > Chat ID."_s;
    m_service.sendMessage(
        text, command.chatID, command.messageID, command.threadID, [this] { handleRest(); }, m_requests.get());
}

TelegramPoll::Handling TelegramPoll::launch(const telegram::NewSession &command)
{
    if (command.topicID) {
        callLater(newSession(command.prompt, *command.topicID));
        return Handling::Finished;
    }
    m_service.createForumTopic(
        firstCharacters(command.prompt, mostNameCharacters).toString(),
        [this, prompt = command.prompt](std::optional<std::int64_t> topicID, const std::optional<QString> &) {
            if (topicID)
                callLater(newSession(prompt, *topicID));
            handleRest();
        },
        m_requests.get());
    return Handling::GoesOn;
}

void TelegramPoll::answer(const TelegramUpdate &update, const telegram::Answer &command)
{
    const QString label = labelOf(command);
    // Whoever was asked for the session may have cancelled this.
    if (!m_requests)
        return;
    acknowledge(update, u"Answered: "_s + label, [this, command] {
        if (!command.index)
            return;
        callLater([command](const TelegramService &service) {
            if (const auto call = service.onAnswerQuestion)
                call(command.sessionID, *command.index);
        });
    });
}

void TelegramPoll::acknowledge(const TelegramUpdate &update, const QString &text, std::function<void()> andThen)
{
    const TelegramCallbackQuery &query = *update.callbackQuery;
    const auto finish = [this, andThen = std::move(andThen)] {
        andThen();
        handleRest();
    };
    m_service.answerCallbackQuery(
        query.id, text,
        [this, &query, finish] {
            if (!query.message)
                return finish();
            m_service.removeInlineKeyboard(QString::number(query.message->chat.id), query.message->messageID, finish,
                                           m_requests.get());
        },
        m_requests.get());
}

void TelegramPoll::callLater(std::function<void(const TelegramService &)> call)
{
    if (!m_requests)
        return;
    m_service.m_services.mainQueue.post([this, context = QPointer(m_requests.get()), call = std::move(call)] {
        if (context)
            call(m_service);
    });
}

QString TelegramPoll::labelOf(const telegram::Answer &command) const
{
    if (command.index && m_service.sessionProvider) {
        const SessionPtr session = m_service.sessionProvider(command.sessionID);
        const auto *questions = session && session->questions() ? &*session->questions() : nullptr;
        const auto *options =
            questions && !questions->empty() && questions->front().options ? &*questions->front().options : nullptr;
        if (options && std::cmp_less(*command.index, options->size()))
            return (*options)[static_cast<std::size_t>(*command.index)].label;
    }
    return u"Option "_s + command.number;
}

} // namespace vantry
