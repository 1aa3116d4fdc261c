#include "telegram/TelegramRecords.h"

#include <gtest/gtest.h>

#include <limits>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

template <typename Record>
QString problemOf(const QByteArray &body)
{
    const auto decoded = decode<Record>(body);
    const auto *problem = std::get_if<QString>(&decoded);
    return problem ? *problem : QString();
}

QString problemOfUpdates(const QByteArray &result)
{
    return problemOf<TelegramResponse>(R"({"ok":true,"result":)" + result + "}");
}

std::vector<TelegramUpdate> updatesOf(const QByteArray &result)
{
    auto decoded = decode<TelegramResponse>(R"({"ok":true,"result":)" + result + "}");
    EXPECT_TRUE(std::holds_alternative<TelegramResponse>(decoded)) << problemOfUpdates(result).toStdString();
    auto *response = std::get_if<TelegramResponse>(&decoded);
    return response ? std::move(response->result) : std::vector<TelegramUpdate>();
}

TEST(TelegramRecords, everyFieldIsRead)
{
    const auto updates = updatesOf(R"([
        {"update_id": 41, "edited_message": {"x": [1, {}]}, "message": {"message_id": 3, "message_thread_id": 9,
         "text": "a \u00e4 \ud83d\ude00", "chat": {"id": -1001234567890123, "type": "supergroup"},
         "reply_to_message": {"message_id": 2, "chat": {"id": 1}}}},
        {"update_id": 42, "callback_query": {"id": "q", "from": {}, "data": "allow:s",
         "message": {"message_id": 4, "chat": {"id": 5}}}}])");
    ASSERT_EQ(updates.size(), 2U);
    EXPECT_EQ(updates[0].updateID, 41);
    const auto &message = updates[0].message;
    ASSERT_TRUE(message);
    EXPECT_EQ(message->messageID, 3);
    EXPECT_EQ(message->messageThreadID, 9);
    EXPECT_EQ(message->text, u"a ä 😀"_s);
    EXPECT_EQ(message->chat.id, -1001234567890123);
    ASSERT_TRUE(message->replyToMessage);
    EXPECT_EQ(message->replyToMessage->messageID, 2);
    EXPECT_FALSE(message->replyToMessage->text);
    EXPECT_FALSE(updates[0].callbackQuery);
    const auto &query = updates[1].callbackQuery;
    ASSERT_TRUE(query);
    EXPECT_EQ(query->id, u"q"_s);
    EXPECT_EQ(query->data, u"allow:s"_s);
    ASSERT_TRUE(query->message);
    EXPECT_EQ(query->message->chat.id, 5);
}

TEST(TelegramRecords, optionalFieldsMayBeNull)
{
    const auto updates = updatesOf(R"([{"update_id": 1, "message": null, "callback_query": null},
        {"update_id": 2, "message": {"message_id": 1, "chat": {"id": 1}, "text": null, "message_thread_id": null,
         "reply_to_message": null}}])");
    ASSERT_EQ(updates.size(), 2U);
    EXPECT_FALSE(updates[0].message);
    EXPECT_FALSE(updates[0].callbackQuery);
    ASSERT_TRUE(updates[1].message);
    EXPECT_FALSE(updates[1].message->text);
}

TEST(TelegramRecords, aMissingOrNullRequiredFieldFailsTheWhole)
{
    EXPECT_EQ(problemOf<TelegramResponse>(R"({"ok":false,"error_code":401,"description":"Unauthorized"})"),
              u"\"result\" is missing"_s);
    EXPECT_EQ(problemOf<TelegramResponse>(R"({"result":[]})"), u"\"ok\" is missing"_s);
    EXPECT_EQ(problemOf<TelegramResponse>(R"({"ok":null,"result":[]})"), u"\"ok\" is neither true nor false"_s);
    EXPECT_EQ(problemOfUpdates("null"), u"\"result\" is no array"_s);
    EXPECT_EQ(problemOfUpdates("[{}]"), u"\"update_id\" is missing"_s);
    EXPECT_EQ(problemOfUpdates("[null]"), u"\"result\" is no object"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":1,"message":{"message_id":1}}])"), u"\"chat\" is missing"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":1},{"update_id":2,"callback_query":{"data":"x"}}])"),
              u"\"id\" is missing"_s);
}

TEST(TelegramRecords, aWrongTypeFailsTheWhole)
{
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":"1"}])"), u"\"update_id\" is no integer of 64 bits"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":1.5}])"), u"\"update_id\" is no integer of 64 bits"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":[]}])"), u"\"update_id\" is no integer of 64 bits"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":9223372036854775808}])"), u"\"update_id\" is no integer of 64 bits"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":true}])"), u"\"update_id\" is no integer of 64 bits"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":1,"message":{"message_id":1,"chat":{"id":1},"text":5}}])"),
              u"\"text\" is no string"_s);
    EXPECT_EQ(problemOfUpdates(R"([{"update_id":1,"message":[]}])"), u"\"message\" is no object"_s);
    EXPECT_EQ(problemOf<TelegramSendResponse>(R"({"ok":1})"), u"\"ok\" is neither true nor false"_s);
}

TEST(TelegramRecords, anIntegerMayBeWrittenInAnyWay)
{
    const auto updates = updatesOf(R"([{"update_id":3.0},{"update_id":3e0},{"update_id":9223372036854775807},
                                       {"update_id":-9223372036854775808}])");
    ASSERT_EQ(updates.size(), 4U);
    EXPECT_EQ(updates[0].updateID, 3);
    EXPECT_EQ(updates[1].updateID, 3);
    EXPECT_EQ(updates[2].updateID, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(updates[3].updateID, std::numeric_limits<std::int64_t>::min());
}

TEST(TelegramRecords, keysAreCaseSensitiveAndMayBeWrittenWithEscapes)
{
    EXPECT_EQ(problemOfUpdates(R"([{"Update_ID":1}])"), u"\"update_id\" is missing"_s);
    EXPECT_EQ(updatesOf(R"([{"update\u005fid":6}])").at(0).updateID, 6);
}

TEST(TelegramRecords, ofAKeyThatOccursTwiceTheLastCounts)
{
    const auto updates = updatesOf(R"([{"update_id":1,"update_id":2,"message":{"message_id":1,"chat":{"id":1}},
                                        "message":null}])");
    ASSERT_EQ(updates.size(), 1U);
    EXPECT_EQ(updates[0].updateID, 2);
    EXPECT_FALSE(updates[0].message);
}

TEST(TelegramRecords, whatIsNotSoundJsonFails)
{
    for (const QByteArray &body :
         { QByteArray(), QByteArray("<html>"), QByteArray("{"), QByteArray(R"({"ok":true,"result":[]}})"),
           QByteArray(R"({"ok":true,"result":[],})"), QByteArray(R"({"ok":true,"result":[{"update_id":1,"x":nul}]})"),
           QByteArray(R"({"ok":true,"result":[{"update_id":1,"x":"\q"}]})"), QByteArray(3, '\0'),
           QByteArray("[").repeated(100'000) })
        EXPECT_FALSE(problemOf<TelegramResponse>(body).isEmpty()) << body.left(50).constData();
    EXPECT_EQ(problemOf<TelegramResponse>("{\"ok\":true,\"result\":[],\"x\":\"\xff\"}"), u"The answer is not UTF-8"_s);
}

TEST(TelegramRecords, repliesNestAsDeepAsJsonMay)
{
    const auto nested = [](int depth) -> QByteArray {
        QByteArray open;
        for (int i = 0; i < depth; ++i)
            open += R"({"message_id":1,"chat":{"id":1},"reply_to_message":)";
        return R"([{"update_id":1,"message":)" + open + "null" + QByteArray(depth, '}') + "}]";
    };
    EXPECT_EQ(updatesOf(nested(400)).size(), 1U);
    EXPECT_FALSE(problemOfUpdates(nested(100'000)).isEmpty());
}

TEST(TelegramRecords, theOtherAnswersAreRead)
{
    const auto sent = decode<TelegramSendResponse>(R"({"ok":true,"result":{"message_id":8,"date":1}})");
    EXPECT_EQ(std::get<TelegramSendResponse>(sent).result->messageID, 8);
    const auto refused = decode<TelegramSendResponse>(R"({"ok":false,"description":"no"})");
    EXPECT_FALSE(std::get<TelegramSendResponse>(refused).result);
    const auto topic = decode<TelegramForumTopicResponse>(R"({"ok":true,"result":{"message_thread_id":6,"name":"n"}})");
    EXPECT_EQ(std::get<TelegramForumTopicResponse>(topic).result->messageThreadID, 6);
    EXPECT_EQ(std::get<TelegramForumTopicResponse>(topic).result->name, u"n"_s);
    EXPECT_EQ(problemOf<TelegramForumTopicResponse>(R"({"ok":true,"result":{"message_thread_id":6}})"),
              u"\"name\" is missing"_s);
}

} // namespace
} // namespace vantry::test
