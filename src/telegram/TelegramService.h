#pragma once

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/Defaults.h"
#include "base/MainQueue.h"
#include "base/Scheduler.h"
#include "base/StandardOutput.h"
#include "platform/SecretStore.h"
#include "sessions/VantrySession.h"
#include "telegram/BotApi.h"
#include "telegram/TelegramCommand.h"
#include "telegram/TelegramRecords.h"

#include <QMap>
#include <QObject>
#include <QString>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vantry {

class TelegramPoll;

/// The user's Telegram bot: polls for what is written to it, answers greetings, and hands commands to its callbacks.
/// Polls while it has a token and a chat and isn't paused. Token, chat and pause are kept elsewhere when they change,
/// and never read back: every start begins without. Nothing that is printed or told of a failure holds the token.
/// Main thread only.
class TelegramService final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString botToken READ botToken WRITE setBotToken NOTIFY changed)
    Q_PROPERTY(QString chatID READ chatID WRITE setChatID NOTIFY changed)
    Q_PROPERTY(bool isPaused READ isPaused WRITE setPaused NOTIFY changed)
    Q_PROPERTY(bool isConfigured READ isConfigured NOTIFY changed)

public:
    /// Seconds between two posts of a dashboard. Reserved for one.
    static constexpr Seconds dashboardCooldown { 5.0 };

    /// All of these must outlive this.
    struct Services
    {
        Scheduler &scheduler;
        MainQueue &mainQueue;
        Defaults &defaults;
        Log &log;
        SecretStore *secrets { nullptr }; ///< Null: token and chat are kept for this run alone.
    };
    /// An agent that was asked for in a topic, and whose session isn't there yet.
    struct PendingLaunch
    {
        QString prompt;
        std::int64_t topicID { 0 };
        Date launchedAt {};

        friend bool operator==(const PendingLaunch &, const PendingLaunch &) = default;
    };

    /// Writes a line, which comes without its end, to standard output.
    using Print = std::function<void(const QString &line)>;
    /// Takes the topic, or why there is none.
    using TopicDone = std::function<void(std::optional<std::int64_t> topicID, std::optional<QString> error)>;
    /// Takes the sent message; nothing when it wasn't sent.
    using MessageDone = std::function<void(std::optional<std::int64_t> messageID)>;
    using Done = std::function<void()>;

    explicit TelegramService(const Services &services, const QString &apiAddress = BotApi::defaultBaseAddress(),
                             Print print = printLine);
    ~TelegramService() override;

    // Each is kept, and polling begins anew or ends, also when the value is the same as before.
    [[nodiscard]] const QString &botToken() const { return m_botToken; }
    void setBotToken(const QString &token);
    /// The chat that may give commands, as decimal text.
    [[nodiscard]] const QString &chatID() const { return m_chatID; }
    void setChatID(const QString &chatID);
    [[nodiscard]] bool isPaused() const { return m_isPaused; }
    void setPaused(bool paused);
    [[nodiscard]] bool isConfigured() const { return !m_botToken.isEmpty() && !m_chatID.isEmpty(); }

    /// Polls from now on, in the stead of what polled before. Nothing without a token.
    void startPolling();
    /// Ends polling, and what is under way for it: no callback is called for it from now on.
    void cancelPolling();
    [[nodiscard]] bool isPolling() const { return m_pollingTask != nullptr; }

    // The Bot API's methods. `done` is called once, later, or never when this ends before, or the owner where one is
    // given. Failures are printed where that is said.

    /// Makes a forum topic in the chat, named with the first 128 characters. Failures are printed.
    void createForumTopic(const QString &name, TopicDone done, QObject *owner = nullptr);
    /// Posts a message with these keys. Failures are printed and become the last error.
    void postMessage(const nlohmann::json &body, MessageDone done, QObject *owner = nullptr);
    /// The same with a text, as a reply to a message and in a forum topic where these are given.
    void sendMessage(const QString &text, const QString &chatID, std::optional<std::int64_t> replyTo,
                     std::optional<std::int64_t> threadID, Done done, QObject *owner = nullptr);
    /// Tells whoever pressed a button that it was taken, with a text where one is given.
    void answerCallbackQuery(const QString &callbackID, const std::optional<QString> &text, Done done,
                             QObject *owner = nullptr);
    /// Takes the buttons of a message away.
    void removeInlineKeyboard(const QString &chatID, std::int64_t messageID, Done done, QObject *owner = nullptr);

    // What a command is handed to, from the main queue. One that is unset drops it.

    /// Text for the session whose identifier this is, or begins with.
    std::function<void(const QString &sessionKey, const QString &text)> onReply;
    std::function<void(const QString &sessionID)> onAllow;
    /// Takes an option, from 0, of the question that the session asks.
    std::function<void(const QString &sessionID, std::int64_t index)> onAnswerQuestion;
    /// An agent is to be started, whose session belongs to this topic.
    std::function<void(const QString &prompt, std::int64_t topicID)> onNewSession;
    /// A session got its topic. Reserved for whoever makes topics for sessions.
    std::function<void(const QString &sessionID, std::int64_t topicID)> onTopicCreated;
    /// The live session of this identifier, or null.
    std::function<SessionPtr(const QString &sessionID)> sessionProvider;

    /// The highest update seen in this run.
    [[nodiscard]] std::int64_t lastUpdateID() const { return m_lastUpdateID; }
    /// Why the last message that failed wasn't sent.
    [[nodiscard]] const std::optional<QString> &lastError() const { return m_lastError; }

    // How sessions and the chat's topics belong together. Commands are routed by the topics; the rest is reserved for
    // what writes to Telegram of its own accord, and all of it is empty until something does.

    [[nodiscard]] const SessionTopics &sessionTopics() const { return m_sessionTopics; }
    void setSessionTopics(const SessionTopics &value) { assign(m_sessionTopics, value); }
    /// The message that marks a session as working, by the session's identifier.
    [[nodiscard]] const QMap<QString, std::int64_t> &workingMessages() const { return m_workingMessages; }
    void setWorkingMessages(const QMap<QString, std::int64_t> &value) { assign(m_workingMessages, value); }
    [[nodiscard]] const std::vector<PendingLaunch> &pendingLaunches() const { return m_pendingLaunches; }
    void setPendingLaunches(const std::vector<PendingLaunch> &value) { assign(m_pendingLaunches, value); }
    [[nodiscard]] Date lastDashboardUpdate() const { return m_lastDashboardUpdate; }
    void setLastDashboardUpdate(Date value) { assign(m_lastDashboardUpdate, value); }
    /// What is held back for the next post of the dashboard.
    [[nodiscard]] const std::optional<std::vector<SessionPtr>> &pendingDashboardSessions() const
    {
        return m_pendingDashboardSessions;
    }
    void setPendingDashboardSessions(const std::optional<std::vector<SessionPtr>> &value)
    {
        assign(m_pendingDashboardSessions, value);
    }
    /// What posts it when the cooldown ends.
    [[nodiscard]] const ScheduledTimer &dashboardTrailingTask() const { return m_dashboardTrailingTask; }
    void setDashboardTrailingTask(ScheduledTimer task)
    {
        m_dashboardTrailingTask = std::move(task);
        Q_EMIT changed();
    }

Q_SIGNALS:
    /// Any of the values has another value now.
    void changed();

private:
    friend class TelegramPoll;

    /// Takes an answer; nothing when the address doesn't parse.
    using AnswerDone = std::function<void(const std::optional<BotApi::Answer> &answer)>;
    /// Takes the updates; nothing when the poll failed.
    using UpdatesDone = std::function<void(std::optional<std::vector<TelegramUpdate>> updates)>;

    template <typename Field>
    void assign(Field &field, const Field &value)
    {
        if (field == value)
            return;
        field = value;
        Q_EMIT changed();
    }
    void keepSecret(const QString &account, const QString &value);
    void pollOrNot();

    void getUpdates(UpdatesDone done, QObject &owner);
    void takeUpdate(std::int64_t updateID);
    void post(const QString &method, const nlohmann::json &body, QObject *owner, AnswerDone done);
    void failToSend(const QString &what, const QString &problem, const QString &token);
    /// Prints a problem without the token, and gives what is left of it.
    QString report(const QString &what, const QString &problem, const QString &token) const;

    const Services m_services;
    const Print m_print;
    BotApi m_api;
    QObject m_requests; ///< The owner of those that have no other.
    QString m_botToken;
    QString m_chatID;
    bool m_isPaused { false };
    TelegramPoll *m_pollingTask { nullptr }; ///< A child; null while nothing polls.
    std::int64_t m_lastUpdateID { 0 };
    SessionTopics m_sessionTopics;
    QMap<QString, std::int64_t> m_workingMessages;
    std::vector<PendingLaunch> m_pendingLaunches;
    std::optional<QString> m_lastError;
    Date m_lastDashboardUpdate { Date::min() };
    std::optional<std::vector<SessionPtr>> m_pendingDashboardSessions;
    ScheduledTimer m_dashboardTrailingTask;
    bool m_saidThatSecretsAreLost { false };
};

} // namespace vantry
