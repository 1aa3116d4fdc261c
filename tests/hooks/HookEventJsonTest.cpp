#include "hooks/HookEventSupport.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

TEST(HookEvent, replacesLoneSurrogates)
{
    const HookEvent event = eventFromJson(recordWith(R"("prompt":"a\ud83dz","message":"\udc00","cwd":"\ud83d\ude00")"));

    EXPECT_EQ(event.prompt, u"a\uFFFDz"_s);
    EXPECT_EQ(event.message, u"\uFFFD"_s);
    EXPECT_EQ(event.cwd, QString::fromUtf8("\xF0\x9F\x98\x80"));
    EXPECT_EQ(inputValue(R"("\ud83d")"), "\xEF\xBF\xBD");
    EXPECT_TRUE(decodes(recordWith(R"("a\ud800key":1)")));
}

TEST(HookEvent, decodesEscapesAndZeros)
{
    const HookEvent event = eventFromJson(recordWith(R"("prompt":"a\"\\\/\b\f\n\r\t\u00e9\u0000z")"));

    EXPECT_EQ(event.prompt, QString(u"a\"\\/\b\f\n\r\t\u00e9"_s + QChar(0) + u'z'));
}

class MalformedJson : public ::testing::TestWithParam<const char *>
{};

TEST_P(MalformedJson, failsTheRecord)
{
    EXPECT_THAT(defectOf(GetParam()), ::testing::Not(::testing::IsEmpty()));
}

INSTANTIATE_TEST_SUITE_P(
    HookEvent, MalformedJson,
    ::testing::Values("", " ", "{", "}", "nope", "null", "[]", "\"s\"", "7", R"({"session_id":"s")",
                      R"({"session_id":"s})", R"({"session_id":"s"}})", R"({"session_id":"s"} x)",
                      R"({"session_id":"s"}{"session_id":"s"})", R"({"session_id":"s"},)", R"({"session_id":"s",})",
                      R"({"session_id" "s"})", R"({session_id:"s"})", R"({'session_id':'s'})",
                      R"([{"session_id":"s"}])", R"({"session_id":"s" "cwd":"/"})",
                      R"({"session_id":"s","unread":nope})", R"({"session_id":"s","unread":[1,]})",
                      R"({"session_id":"s","unread":{"a":tru}})", R"({"session_id":"s","unread":01})",
                      R"({"session_id":"s","unread":1.})", R"({"session_id":"s","unread":"\x"})",
                      R"({"session_id":"s","unread":"\u12g4"})", R"({"session_id":"s","un\qread":1})",
                      R"({"session_id":"s","unread":[1 2]})", R"({"session_id":"s","unread":{"a" 1}})",
                      R"({"session_id":"s","unread":{"a":}})", R"({"session_id":"s","tool_input":{"a":nope}})",
                      R"({"session_id":"s","tool_input":{"a":"\q"}})", R"({"session_id":"s","cwd":nul})",
                      R"({"session_id":"s","cwd":nulls})", R"({"session_id":"s","is_interrupt":trve})",
                      R"({"session_id":"s","pid":1x})", R"({"session_id":"s","pid":--1})",
                      R"({"session_id":"s","cwd":nope,"cwd":"/"})", R"({"session_id":"s","pid":NaN})",
                      "{\"session_id\":\"a\nb\"}", "{\"session_id\":\"s\xC3\"}", "{\"session_id\":\"s\xED\xA0\x80\"}",
                      "\xEF\xBB\xBF{\"session_id\":\"s\"}"));

TEST(HookEvent, refusesNestingBeyondTheLimit)
{
    const auto nested = [](int depth) {
        return recordWith(R"("unread":)" + std::string(static_cast<std::size_t>(depth), '[') +
                          std::string(static_cast<std::size_t>(depth), ']'));
    };

    EXPECT_TRUE(decodes(nested(maximumJsonDepth - 1)));
    EXPECT_FALSE(decodes(nested(maximumJsonDepth)));
    EXPECT_FALSE(decodes(nested(100'000)));
}

TEST(HookEvent, refusesNestingBeyondTheLimitInMaps)
{
    std::string value = "1";
    for (int i = 0; i < maximumJsonDepth; ++i)
        value = R"({"a":)" + value + "}";

    EXPECT_FALSE(decodes(recordWith(R"("tool_input":)" + value)));
}

TEST(HookEvent, allowsBlanksAroundTheRecord)
{
    EXPECT_EQ(eventFromJson(" \r\n\t{ \"session_id\" : \"s\" } \r\n\t").sessionID, u"s"_s);
}

TEST(HookEvent, decodesTextsOfEveryLengthWithoutReadingBeyondThem)
{
    for (std::size_t length = 0; length < 300; ++length) {
        // An allocation of just this size, so that a look behind its end is noticed.
        const std::string text = R"({"session_id":")" + std::string(length, 'x') + R"("})";
        const std::unique_ptr<char[]> exact = std::make_unique<char[]>(text.size());
        std::ranges::copy(text, exact.get());

        const auto decoded = HookEvent::decode({ exact.get(), text.size() });

        ASSERT_TRUE(std::holds_alternative<HookEvent>(decoded));
        ASSERT_EQ(std::get<HookEvent>(decoded).sessionID.size(), static_cast<qsizetype>(length));
    }
}

TEST(HookEvent, failsWithEveryTextThatWasCutOff)
{
    const std::string text =
        R"({"session_id":"s","tool_input":{"a":[1,2.5,"x\u0041",null]},"pid":12,"is_interrupt":true})";

    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_FALSE(decodes(std::string_view(text).substr(0, length))) << length;
}

TEST(HookEvent, keepsALargeResponseAsItCame)
{
    const std::string response = R"({"stdout":")" + std::string(20'000'000, 'x') + R"("})";

    const HookEvent event = eventFromJson(recordWith(R"("tool_response":)" + response));

    EXPECT_TRUE(event.toolResponse->sourceText() == response);
}

} // namespace
} // namespace vantry::test
