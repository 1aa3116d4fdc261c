#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace vantry {

// What the Bot API answers, as far as it is read here. An optional field may be absent or null on the wire.

struct TelegramChat
{
    std::int64_t id { 0 };
};

struct TelegramMessage
{
    std::int64_t messageID { 0 };
    std::optional<std::int64_t> messageThreadID; ///< The forum topic that it stands in.
    std::optional<QString> text;
    TelegramChat chat;
    std::unique_ptr<TelegramMessage> replyToMessage; ///< Null: it is no reply.
};

/// A press of a button under a message.
struct TelegramCallbackQuery
{
    QString id;
    std::optional<QString> data; ///< What the button bears.
    std::optional<TelegramMessage> message;
};

struct TelegramUpdate
{
    std::int64_t updateID { 0 };
    std::optional<TelegramMessage> message;
    std::optional<TelegramCallbackQuery> callbackQuery;
};

/// The answer of "/getUpdates".
struct TelegramResponse
{
    bool ok { false };
    std::vector<TelegramUpdate> result;
};

struct TelegramSentMessage
{
    std::int64_t messageID { 0 };
};

/// The answer of "/sendMessage".
struct TelegramSendResponse
{
    bool ok { false };
    std::optional<TelegramSentMessage> result;
};

struct TelegramForumTopic
{
    std::int64_t messageThreadID { 0 };
    QString name;
};

/// The answer of "/createForumTopic".
struct TelegramForumTopicResponse
{
    bool ok { false };
    std::optional<TelegramForumTopic> result;
};

/// A record, or why the text isn't one, in one line for a person.
template <typename Record>
using Decoded = std::variant<Record, QString>;

/// Decodes an answer's body strictly: a required field that is missing or null, or any field of a wrong type, fails the
/// whole. Unknown keys are ignored, of a key that occurs twice the last one counts, and an integer may be written in
/// any way (3.0 is 3). For TelegramResponse, TelegramSendResponse and TelegramForumTopicResponse. Any thread.
template <typename Record>
[[nodiscard]] Decoded<Record> decode(const QByteArray &body);

extern template Decoded<TelegramResponse> decode(const QByteArray &body);
extern template Decoded<TelegramSendResponse> decode(const QByteArray &body);
extern template Decoded<TelegramForumTopicResponse> decode(const QByteArray &body);

} // namespace vantry
