#pragma once

#include "telegram/TelegramRecords.h"

#include <QMap>
#include <QString>

#include <cstdint>
#include <optional>
#include <variant>

namespace vantry {

// What an update asks for. Pure functions and values, any thread.

/// The forum topic of each session, by its identifier.
using SessionTopics = QMap<QString, std::int64_t>;

namespace telegram {

/// Somebody says hello, and is told the chat's identifier.
struct Greet
{
    QString chatID;
    std::int64_t messageID { 0 };
    std::optional<std::int64_t> threadID;
};

/// Text for a session.
struct Reply
{
    QString sessionKey; ///< The session's identifier, or a leading part of it.
    QString text;
};

/// An agent is to be started.
struct NewSession
{
    QString prompt;
    std::optional<std::int64_t> topicID; ///< Nothing: it gets a topic of its own.
};

/// A button of a session's question was pressed.
struct Answer
{
    QString sessionID;
    QString number;                    ///< As it came.
    std::optional<std::int64_t> index; ///< The number, from 0, when it is one.
};

/// A button that allows; with every other one nothing is to be done but to say so.
struct Allow
{
    QString sessionID;
};
struct Deny
{};

} // namespace telegram

/// std::monostate: nothing.
using TelegramCommand = std::variant<std::monostate, telegram::Greet, telegram::Reply, telegram::NewSession,
                                     telegram::Answer, telegram::Allow, telegram::Deny>;

/// Messages are taken from the one chat alone, but for greetings; presses from every chat.
[[nodiscard]] TelegramCommand commandOf(const TelegramUpdate &update, const QString &chatID,
                                        const SessionTopics &sessionTopics);

} // namespace vantry
