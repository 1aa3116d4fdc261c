#include "telegram/TelegramCommand.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

TelegramUpdate messageUpdate(const QString &text, std::int64_t chat = 7, std::optional<std::int64_t> thread = {})
{
    TelegramUpdate update;
    update.message.emplace();
    update.message->messageID = 5;
    update.message->messageThreadID = thread;
    update.message->text = text;
    update.message->chat.id = chat;
    return update;
}

TelegramUpdate pressUpdate(const std::optional<QString> &data)
{
    TelegramUpdate update;
    update.callbackQuery.emplace();
    update.callbackQuery->data = data;
    return update;
}

const SessionTopics &topics()
{
    static const SessionTopics topics { { u"abcdef"_s, 9 }, { u"b"_s, 10 } };
    return topics;
}

/// What a message in the chat asks for, in short.
QString shortOf(const TelegramCommand &command)
{
    if (const auto *reply = std::get_if<telegram::Reply>(&command))
        return u"reply "_s + reply->sessionKey + u'|' + reply->text;
    if (const auto *wanted = std::get_if<telegram::NewSession>(&command))
        return u"new "_s + wanted->prompt + (wanted->topicID ? u"|"_s + QString::number(*wanted->topicID) : QString());
    if (const auto *greeting = std::get_if<telegram::Greet>(&command))
        return u"greet "_s + greeting->chatID;
    if (const auto *answer = std::get_if<telegram::Answer>(&command))
        return u"answer "_s + answer->sessionID + u'|' + answer->number +
               (answer->index ? u"|"_s + QString::number(*answer->index) : QString());
    if (const auto *allow = std::get_if<telegram::Allow>(&command))
        return u"allow "_s + allow->sessionID;
    return std::holds_alternative<telegram::Deny>(command) ? u"deny"_s : u"nothing"_s;
}

QString message(const QString &text, std::int64_t chat = 7, std::optional<std::int64_t> thread = {})
{
    return shortOf(commandOf(messageUpdate(text, chat, thread), u"7"_s, topics()));
}

QString press(const QString &data)
{
    return shortOf(commandOf(pressUpdate(data), u"7"_s, topics()));
}

TEST(TelegramCommand, startIsAnsweredInEveryChat)
{
    EXPECT_EQ(message(u"/start"_s), u"greet 7"_s);
    EXPECT_EQ(message(u"/start"_s, -1001), u"greet -1001"_s);
    // The prefix alone is looked at.
    EXPECT_EQ(message(u"/started yesterday"_s, 8), u"greet 8"_s);
    EXPECT_EQ(message(u" /start"_s, 8), u"nothing"_s);
    EXPECT_EQ(message(u"/Start"_s, 8), u"nothing"_s);
}

TEST(TelegramCommand, aGreetingRemembersWhereItCameFrom)
{
    const auto command = commandOf(messageUpdate(u"/start"_s, 7, 9), u"7"_s, topics());
    const auto &greeting = std::get<telegram::Greet>(command);
    EXPECT_EQ(greeting.messageID, 5);
    EXPECT_EQ(greeting.threadID, 9);
}

TEST(TelegramCommand, otherChatsGiveNoCommands)
{
    EXPECT_EQ(message(u"/run x"_s, 8), u"nothing"_s);
    EXPECT_EQ(message(u"hello"_s, 8, 9), u"nothing"_s);
    EXPECT_EQ(shortOf(commandOf(messageUpdate(u"/run x"_s), u"07"_s, topics())), u"nothing"_s);
}

TEST(TelegramCommand, aReplyInASessionsTopicGoesToItWhateverItReads)
{
    EXPECT_EQ(message(u"/claude x"_s, 7, 9), u"reply abcdef|/claude x"_s);
    EXPECT_EQ(message(u" spaced "_s, 7, 10), u"reply b| spaced "_s);
    EXPECT_EQ(message(QString(), 7, 10), u"reply b|"_s);
}

TEST(TelegramCommand, aLeadingPartOfASessionRoutesTheRest)
{
    EXPECT_EQ(message(u"abc hello"_s), u"reply abc|hello"_s);
    EXPECT_EQ(message(u"  abc  hello you"_s), u"reply abc| hello you"_s);
    EXPECT_EQ(message(u"abc  "_s), u"reply abc| "_s);
    EXPECT_EQ(message(u"abc"_s), u"nothing"_s);
    EXPECT_EQ(message(u"abc "_s), u"nothing"_s);
    EXPECT_EQ(message(u"abcdefg hello"_s), u"nothing"_s);
    EXPECT_EQ(message(u"c hello"_s), u"nothing"_s);
    EXPECT_EQ(message(u"abc\thello"_s), u"nothing"_s);
    EXPECT_EQ(message(u"bc hello"_s), u"nothing"_s);
}

TEST(TelegramCommand, launchesTakeAllBehindTheFirstBlank)
{
    EXPECT_EQ(message(u"/run fix it"_s), u"new fix it"_s);
    EXPECT_EQ(message(u"/claude fix\nit "_s), u"new fix\nit "_s);
    EXPECT_EQ(message(u"/run  word"_s), u"new  word"_s);
    EXPECT_EQ(message(u"/run x"_s, 7, 33), u"new x|33"_s);
}

TEST(TelegramCommand, aBareCommandIsNone)
{
    EXPECT_EQ(message(u"/claude"_s), u"nothing"_s);
    EXPECT_EQ(message(u"/run "_s), u"nothing"_s);
    EXPECT_EQ(message(u"/running x"_s), u"nothing"_s);
    EXPECT_EQ(message(u"/run\nx"_s), u"nothing"_s);
    EXPECT_EQ(message(QString()), u"nothing"_s);
}

TEST(TelegramCommand, withoutTopicsAMessageInAnyTopicFallsThrough)
{
    EXPECT_EQ(shortOf(commandOf(messageUpdate(u"/run x"_s, 7, 9), u"7"_s, {})), u"new x|9"_s);
    EXPECT_EQ(shortOf(commandOf(messageUpdate(u"abc hello"_s, 7, 9), u"7"_s, {})), u"nothing"_s);
}

TEST(TelegramCommand, pressesAllowDenyAndAnswer)
{
    EXPECT_EQ(press(u"allow:s1"_s), u"allow s1"_s);
    EXPECT_EQ(press(u"allow:"_s), u"allow "_s);
    EXPECT_EQ(press(u"deny:s1"_s), u"deny"_s);
    EXPECT_EQ(press(QString()), u"deny"_s);
    EXPECT_EQ(press(u"answer:s1:2"_s), u"answer s1|2|2"_s);
    EXPECT_EQ(press(u"answer::s1:2"_s), u"answer s1|2|2"_s);
}

TEST(TelegramCommand, anAnswerNeedsTwoParts)
{
    for (const QString &data : { u"answer:"_s, u"answer:s1"_s, u"answer:s1:"_s, u"answer::2"_s, u"answer:::"_s })
        EXPECT_EQ(press(data), u"nothing"_s) << data.toStdString();
}

TEST(TelegramCommand, anIndexIsADecimalNumberFromZeroOn)
{
    EXPECT_EQ(press(u"answer:s:0"_s), u"answer s|0|0"_s);
    EXPECT_EQ(press(u"answer:s:+3"_s), u"answer s|+3|3"_s);
    EXPECT_EQ(press(u"answer:s:007"_s), u"answer s|007|7"_s);
    EXPECT_EQ(press(u"answer:s:9223372036854775807"_s), u"answer s|9223372036854775807|9223372036854775807"_s);
    for (const QString &number : { u"x"_s, u"1:2"_s, u" 1"_s, u"1 "_s, u"1.0"_s, u"0x1"_s, u"+"_s, u"-"_s, u"+-1"_s,
                                   u"-1"_s, u"9223372036854775808"_s, u"-9223372036854775808"_s, u"٣"_s })
        EXPECT_EQ(press(u"answer:s:"_s + number), u"answer s|"_s + number) << number.toStdString();
}

TEST(TelegramCommand, aPressWithoutDataIsTheMessageBesideIt)
{
    TelegramUpdate update = messageUpdate(u"/run x"_s);
    update.callbackQuery.emplace();
    EXPECT_EQ(shortOf(commandOf(update, u"7"_s, topics())), u"new x"_s);
    update.callbackQuery->data = u"allow:s"_s;
    EXPECT_EQ(shortOf(commandOf(update, u"7"_s, topics())), u"allow s"_s);
    EXPECT_EQ(shortOf(commandOf(pressUpdate(std::nullopt), u"7"_s, topics())), u"nothing"_s);
}

TEST(TelegramCommand, anUpdateWithoutTextIsNothing)
{
    TelegramUpdate update = messageUpdate(u"x"_s);
    update.message->text.reset();
    EXPECT_EQ(shortOf(commandOf(update, u"7"_s, topics())), u"nothing"_s);
    EXPECT_EQ(shortOf(commandOf(TelegramUpdate(), u"7"_s, topics())), u"nothing"_s);
}

} // namespace
} // namespace vantry::test
