#include "telegram/TelegramService.h"

#include "base/Text.h"
#include "telegram/TelegramPoll.h"

#include <QPointer>
#include <QUrl>

#include <limits>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

constexpr auto tokenAccount = "telegram_bot_token"_L1;
constexpr auto chatAccount = "telegram_chat_id"_L1;
constexpr qsizetype mostTopicCharacters = 128;

/// The text with the token cut out, also where only its secret half or its form in addresses stands.
QString withoutToken(QString text, const QString &token)
{
    static constexpr auto mark = "<token>"_L1;
    const auto cut = [&text](const QString &secret) {
        if (!secret.isEmpty())
            text.replace(secret, mark);
    };
    cut(token);
    cut(QString::fromLatin1(QUrl::toPercentEncoding(token)));
    cut(token.section(u':', 1));
    return text;
}

/// The body as text, "?" when it is none.
QString textOf(const QByteArray &body)
{
    return body.isValidUtf8() ? QString::fromUtf8(body) : u"?"_s;
}

/// No text when the values hold what JSON can't.
QByteArray serialised(const nlohmann::json &body)
{
    try {
        return QByteArray::fromStdString(body.dump());
    } catch (const nlohmann::json::exception &) {
        return {};
    }
}

/// The record, or why there is none: the answer didn't come, or is none.
template <typename Record>
Decoded<Record> recordOf(const BotApi::Answer &answer)
{
    if (answer.error)
        return *answer.error;
    return decode<Record>(answer.body);
}

} // namespace

TelegramService::TelegramService(const Services &services, const QString &apiAddress, Print print)
    : m_services(services)
    , m_print(std::move(print))
    , m_api(services.scheduler, apiAddress)
{
    // Every start begins without, in what is kept, too.
    setBotToken({});
    setChatID({});
    setPaused(false);
}

TelegramService::~TelegramService()
{
    if (m_pollingTask)
        m_pollingTask->cancel();
}

void TelegramService::setBotToken(const QString &token)
{
    const bool isNew = std::exchange(m_botToken, token) != token;
    keepSecret(tokenAccount, token);
    pollOrNot();
    if (isNew)
        Q_EMIT changed();
}

void TelegramService::setChatID(const QString &chatID)
{
    const bool isNew = std::exchange(m_chatID, chatID) != chatID;
    keepSecret(chatAccount, chatID);
    pollOrNot();
    if (isNew)
        Q_EMIT changed();
}

void TelegramService::setPaused(bool paused)
{
    const bool isNew = std::exchange(m_isPaused, paused) != paused;
    m_services.defaults.setBoolean(u"telegram_paused"_s, paused);
    pollOrNot();
    if (isNew)
        Q_EMIT changed();
}

void TelegramService::keepSecret(const QString &account, const QString &value)
{
    if (!m_services.secrets)
        return;
    const QPointer<TelegramService> self(this);
    m_services.secrets->set(account, value, [self](const QString &error) {
        if (!self || std::exchange(self->m_saidThatSecretsAreLost, true))
            return;
        self->m_services.log.write(u"TelegramService: token and chat are kept for this run only: "_s + error);
    });
}

// Polling

void TelegramService::pollOrNot()
{
    if (isConfigured() && !m_isPaused)
        startPolling();
    else
        cancelPolling();
}

void TelegramService::startPolling()
{
    if (m_botToken.isEmpty())
        return;
    cancelPolling();
    m_pollingTask = new TelegramPoll(*this);
    m_pollingTask->poll();
    Q_EMIT changed();
}

void TelegramService::cancelPolling()
{
    TelegramPoll *const task = std::exchange(m_pollingTask, nullptr);
    if (!task)
        return;
    task->cancel();
    Q_EMIT changed();
}

void TelegramService::getUpdates(UpdatesDone done, QObject &owner)
{
    // At the end of the numbers it stays there: no number follows.
    const std::int64_t offset =
        m_lastUpdateID == std::numeric_limits<std::int64_t>::max() ? m_lastUpdateID : m_lastUpdateID + 1;
    const auto address =
        m_botToken.isEmpty()
            ? std::nullopt
            : m_api.address(m_botToken, u"/getUpdates?offset=%1&timeout=30"_s.arg(QString::number(offset)));
    if (!address) {
        m_services.mainQueue.post([context = QPointer(&owner), done = std::move(done)] {
            if (context)
                done(std::nullopt);
        });
        return;
    }
    m_api.get(*address, owner, [this, token = m_botToken, done = std::move(done)](const BotApi::Answer &answer) {
        auto response = recordOf<TelegramResponse>(answer);
        if (const auto *problem = std::get_if<QString>(&response)) {
            report(u"Poll error"_s, *problem, token);
            done(std::nullopt);
        } else {
            done(std::move(std::get<TelegramResponse>(response).result));
        }
    });
}

void TelegramService::takeUpdate(std::int64_t updateID)
{
    assign(m_lastUpdateID, std::max(m_lastUpdateID, updateID));
}

// The Bot API's methods

void TelegramService::post(const QString &method, const nlohmann::json &body, QObject *owner, AnswerDone done)
{
    QObject &context = owner ? *owner : m_requests;
    if (const auto address = m_api.address(m_botToken, method)) {
        m_api.post(*address, serialised(body), context,
                   [done = std::move(done)](const BotApi::Answer &answer) { done(answer); });
        return;
    }
    m_services.mainQueue.post([pointer = QPointer(&context), done = std::move(done)] {
        if (pointer)
            done(std::nullopt);
    });
}

void TelegramService::createForumTopic(const QString &name, TopicDone done, QObject *owner)
{
    const nlohmann::json body { { "chat_id", m_chatID.toStdString() },
                                { "name", firstCharacters(name, mostTopicCharacters).toString().toStdString() } };
    post(u"/createForumTopic"_s, body, owner,
         [this, token = m_botToken, done = std::move(done)](const std::optional<BotApi::Answer> &answer) {
             if (!answer)
                 return done(std::nullopt, u"Invalid URL"_s);
             const auto response = recordOf<TelegramForumTopicResponse>(*answer);
             if (const auto *problem = std::get_if<QString>(&response))
                 return done(std::nullopt, report(u"createForumTopic error"_s, *problem, token));
             const auto &[isOk, topic] = std::get<TelegramForumTopicResponse>(response);
             if (isOk && topic)
                 return done(topic->messageThreadID, std::nullopt);
             done(std::nullopt, report(u"createForumTopic failed"_s, textOf(answer->body), token));
         });
}

void TelegramService::postMessage(const nlohmann::json &body, MessageDone done, QObject *owner)
{
    post(u"/sendMessage"_s, body, owner,
         [this, token = m_botToken, done = std::move(done)](const std::optional<BotApi::Answer> &answer) {
             if (!answer)
                 return done(std::nullopt);
             const auto response = recordOf<TelegramSendResponse>(*answer);
             if (const auto *problem = std::get_if<QString>(&response)) {
                 failToSend(u"Send error"_s, *problem, token);
                 return done(std::nullopt);
             }
             const auto &[isOk, message] = std::get<TelegramSendResponse>(response);
             if (isOk && message)
                 return done(message->messageID);
             failToSend(u"sendMessage failed"_s, textOf(answer->body), token);
             done(std::nullopt);
         });
}

void TelegramService::sendMessage(const QString &text, const QString &chatID, std::optional<std::int64_t> replyTo,
                                  std::optional<std::int64_t> threadID, Done done, QObject *owner)
{
    nlohmann::json body { { "chat_id", chatID.toStdString() }, { "text", text.toStdString() } };
    if (replyTo)
        body["reply_to_message_id"] = *replyTo;
    if (threadID)
        body["message_thread_id"] = *threadID;
    postMessage(
        body, [done = std::move(done)](std::optional<std::int64_t>) { done(); }, owner);
}

void TelegramService::answerCallbackQuery(const QString &callbackID, const std::optional<QString> &text, Done done,
                                          QObject *owner)
{
    nlohmann::json body { { "callback_query_id", callbackID.toStdString() } };
    if (text)
        body["text"] = text->toStdString();
    post(u"/answerCallbackQuery"_s, body, owner, [done = std::move(done)](const auto &) { done(); });
}

void TelegramService::removeInlineKeyboard(const QString &chatID, std::int64_t messageID, Done done, QObject *owner)
{
    const nlohmann::json body { { "chat_id", chatID.toStdString() },
                                { "message_id", messageID },
                                { "reply_markup", { { "inline_keyboard", nlohmann::json::array() } } } };
    post(u"/editMessageReplyMarkup"_s, body, owner, [done = std::move(done)](const auto &) { done(); });
}

void TelegramService::failToSend(const QString &what, const QString &problem, const QString &token)
{
    assign(m_lastError, std::optional(report(what, problem, token)));
}

QString TelegramService::report(const QString &what, const QString &problem, const QString &token) const
{
    QString text = withoutToken(problem, token);
    m_print(u"[Vantry Telegram] "_s + what + u": "_s + text);
    return text;
}

} // namespace vantry
