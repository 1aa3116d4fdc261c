// Answers of the Bot API and what their updates ask for, compared with a plain reading of the same JSON.

#include "telegram/TelegramCommand.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace vantry;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// Nothing is made up: what a command holds stands in the update.
void checkCommand(const TelegramUpdate &update)
{
    const SessionTopics topics { { QStringLiteral("abc"), 1 }, { QStringLiteral("s1"), 2 } };
    const TelegramCommand command = commandOf(update, QStringLiteral("7"), topics);
    const bool isPress = update.callbackQuery && update.callbackQuery->data;
    if (const auto *answer = std::get_if<telegram::Answer>(&command)) {
        require(isPress && update.callbackQuery->data->endsWith(answer->sessionID + u':' + answer->number));
        require(!answer->sessionID.isEmpty() && !answer->number.isEmpty() && answer->index.value_or(0) >= 0);
    } else if (const auto *allow = std::get_if<telegram::Allow>(&command)) {
        require(isPress && *update.callbackQuery->data == u"allow:" + allow->sessionID);
    } else if (std::holds_alternative<telegram::Deny>(command)) {
        require(isPress);
    } else if (const auto *reply = std::get_if<telegram::Reply>(&command)) {
        require(!isPress && update.message->chat.id == 7 && update.message->text->endsWith(reply->text));
    } else if (const auto *wanted = std::get_if<telegram::NewSession>(&command)) {
        require(!wanted->prompt.isEmpty() && update.message->chat.id == 7 &&
                update.message->text->endsWith(wanted->prompt));
    } else if (const auto *greeting = std::get_if<telegram::Greet>(&command)) {
        require(greeting->chatID == QString::number(update.message->chat.id));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    (void)decode<TelegramSendResponse>(body);
    (void)decode<TelegramForumTopicResponse>(body);
    const auto decoded = decode<TelegramResponse>(body);
    const auto *response = std::get_if<TelegramResponse>(&decoded);
    if (!response)
        return 0;

    const auto plain = nlohmann::json::parse(body.begin(), body.end(), nullptr, false);
    // Lone surrogates are sound here, and not there.
    if (!plain.is_discarded()) {
        require(plain.at("ok").get<bool>() == response->ok);
        require(plain.at("result").size() == response->result.size());
    }
    for (const TelegramUpdate &update : response->result)
        checkCommand(update);
    return 0;
}
