#include "telegram/TelegramCommand.h"

#include <QStringView>

#include <algorithm>
#include <charconv>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

/// The first piece and all behind the separator that ends it; nothing when that doesn't give two pieces. Separators in
/// front are skipped.
std::optional<std::pair<QString, QString>> splitOnce(QStringView text, QChar separator)
{
    while (text.startsWith(separator))
        text = text.sliced(1);
    const auto end = text.indexOf(separator);
    if (end < 0 || end + 1 == text.size())
        return std::nullopt;
    return std::pair(text.first(end).toString(), text.sliced(end + 1).toString());
}

/// An index in decimal digits; nothing when it is none, negative, or beyond 64 bits.
std::optional<std::int64_t> parseIndex(const QString &number)
{
    const std::string text = number.toStdString();
    const char *begin = text.data();
    const char *const end = begin + text.size();
    if (text.size() > 1 && text.front() == '+' && text[1] != '-')
        ++begin;
    std::int64_t index = 0;
    const auto [rest, error] = std::from_chars(begin, end, index);
    if (error != std::errc() || rest != end || index < 0)
        return std::nullopt;
    return index;
}

TelegramCommand commandOfPress(const QString &data)
{
    constexpr auto answerPrefix = "answer:"_L1;
    constexpr auto allowPrefix = "allow:"_L1;
    if (data.startsWith(answerPrefix)) {
        auto pieces = splitOnce(QStringView(data).sliced(answerPrefix.size()), u':');
        if (!pieces)
            return {};
        const auto index = parseIndex(pieces->second);
        return telegram::Answer { std::move(pieces->first), std::move(pieces->second), index };
    }
    if (data.startsWith(allowPrefix))
        return telegram::Allow { data.sliced(allowPrefix.size()) };
    return telegram::Deny {};
}

std::optional<telegram::Reply> replyIn(const TelegramMessage &message, const QString &text,
                                       const SessionTopics &sessionTopics)
{
    if (message.messageThreadID) {
        const auto topic = std::ranges::find(sessionTopics, *message.messageThreadID);
        if (topic != sessionTopics.end())
            return telegram::Reply { topic.key(), text };
    }
    auto pieces = splitOnce(text, u' ');
    if (!pieces)
        return std::nullopt;
    // In the order of the keys, those that begin with the piece follow it.
    const auto key = sessionTopics.lowerBound(pieces->first);
    if (key == sessionTopics.end() || !key.key().startsWith(pieces->first))
        return std::nullopt;
    return telegram::Reply { std::move(pieces->first), std::move(pieces->second) };
}

TelegramCommand commandOfMessage(const TelegramMessage &message, const QString &text, const QString &chatID,
                                 const SessionTopics &sessionTopics)
{
    const QString sender = QString::number(message.chat.id);
    if (text.startsWith("/start"_L1))
        return telegram::Greet { sender, message.messageID, message.messageThreadID };
    if (sender != chatID)
        return {};
    if (auto reply = replyIn(message, text, sessionTopics))
        return *std::move(reply);
    if (!text.startsWith("/claude "_L1) && !text.startsWith("/run "_L1))
        return {};
    QString prompt = text.sliced(text.indexOf(u' ') + 1);
    if (prompt.isEmpty())
        return {};
    return telegram::NewSession { std::move(prompt), message.messageThreadID };
}

} // namespace

TelegramCommand commandOf(const TelegramUpdate &update, const QString &chatID, const SessionTopics &sessionTopics)
{
    if (update.callbackQuery && update.callbackQuery->data)
        return commandOfPress(*update.callbackQuery->data);
    if (update.message && update.message->text)
        return commandOfMessage(*update.message, *update.message->text, chatID, sessionTopics);
    return {};
}

} // namespace vantry
