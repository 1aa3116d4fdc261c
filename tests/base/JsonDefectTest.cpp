#include "base/JsonText.h"

#include <gtest/gtest.h>

namespace vantry {
namespace {

std::string nested(int depth, const std::string &inside = {})
{
    const auto count = static_cast<std::size_t>(depth);
    return std::string(count, '[') + inside + std::string(count, ']');
}

class SoundJson : public testing::TestWithParam<const char *>
{};

TEST_P(SoundJson, isAccepted)
{
    EXPECT_EQ(jsonDefect(GetParam()), std::nullopt) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(JsonDefect, SoundJson,
                         testing::Values("{}", "[]", " \t\r\n{ } \n", "0", "\"a\"", " true ", "null", "-1.5e3",
                                         R"({"a":[1,2,{"b":null}],"c":"\ud800"})", R"({"a":1,"a":2})",
                                         R"({"\u0061":1,"":[]})", "[1e400, 123456789012345678901234567890]",
                                         "[\"\\\\\",\"\\\"\",\"]\"]", "\"\\\"\"", "[ \"a\" , \"b\" ]", "[[],{},[{}]]",
                                         "{\"a\" : \"b\" , \"c\" : {} }", "\"\xC3\xA9\"", "[\"\x7F\"]"));

class UnsoundJson : public testing::TestWithParam<const char *>
{};

TEST_P(UnsoundJson, isRefusedAsADocument)
{
    EXPECT_NE(jsonDefect(GetParam()), std::nullopt) << GetParam();
}

TEST_P(UnsoundJson, isRefusedDeepInsideOfOne)
{
    const std::string value = GetParam();
    EXPECT_NE(jsonDefect(R"({"a":{"b":[0,)" + value + "]}}"), std::nullopt) << value;
    EXPECT_NE(jsonDefect(R"([{"b":)" + value + "}]"), std::nullopt) << value;
}

INSTANTIATE_TEST_SUITE_P(JsonDefect, UnsoundJson,
                         testing::Values("", " ", "nope", "tru", "trueX", "nul", "nulll", "True", "'a'", "01", "1.",
                                         ".5", "+1", "1e", "-", "--1", "1 2", "{\"a\"}", "{\"a\":}", "{\"a\":1,}",
                                         "{,}", "{a:1}", "{\"a\" 1}", "{\"a\":1 \"b\":2}", "{\"a\":1,,\"b\":2}",
                                         "{1:2}", "[1,]", "[,1]", "[,]", "[1 2]", "[\"a\":1]", "[1}", "{\"a\":1]", "[",
                                         "{", "[[1]", "\"", "\"a", "\"\\\"", "\"\\x\"", "\"\\u12\"", "\"a\nb\"",
                                         "\"a\tb\"", "\"\x01\"", "\"\xFF\"", "\"\xED\xA0\x80\"", "\x01", "[1]x", "{}x",
                                         "//x", "[1/**/]", "NaN", "Infinity", "-Infinity", "\"a\"\"b\"", "true\"a\"",
                                         "true[]", "[]true", "1[", "{\"\\x\":1}", "{\"a\nb\":1}", "{\"a\":1}}"));

TEST(JsonDefect, allowsNestingUpToTheLimit)
{
    EXPECT_EQ(jsonDefect(nested(maximumJsonDepth)), std::nullopt);
    EXPECT_NE(jsonDefect(nested(maximumJsonDepth + 1)), std::nullopt);
    EXPECT_EQ(jsonDefect(nested(maximumJsonDepth, "1")), std::nullopt);
    EXPECT_NE(jsonDefect(nested(maximumJsonDepth, "{}")), std::nullopt);
}

TEST(JsonDefect, refusesAbsurdNestingWithoutRunningOutOfStack)
{
    EXPECT_NE(jsonDefect(nested(1'000'000)), std::nullopt);
    EXPECT_NE(jsonDefect(std::string(1'000'000, '[')), std::nullopt);
}

TEST(JsonDefect, takesNulBytesForContent)
{
    using namespace std::string_view_literals;
    EXPECT_NE(jsonDefect("{}\0"sv), std::nullopt);
    EXPECT_NE(jsonDefect("[1\0]"sv), std::nullopt);
    EXPECT_NE(jsonDefect("\"\0\""sv), std::nullopt);
}

TEST(JsonDefect, refusesAByteOrderMark)
{
    EXPECT_NE(jsonDefect("\xEF\xBB\xBF{}"), std::nullopt);
}

TEST(JsonDefect, agreesWithAnotherParserOnDamagedText)
{
    // Every single change of a byte, every cut and every doubled byte of a text that holds all kinds of value.
    const std::string sound = R"( {"a" : [1, -2.5e+3, true, false,null], "\u00e9\n":{"b":"c\\\"d"},"":[],"x":{}} )";
    const auto compare = [](const std::string &text) {
        EXPECT_EQ(!jsonDefect(text), nlohmann::json::accept(text)) << text;
    };
    for (std::size_t i = 0; i < sound.size(); ++i) {
        compare(sound.substr(0, i));
        compare(sound.substr(i));
        compare(sound.substr(0, i) + sound.substr(i + 1));
        compare(sound.substr(0, i) + sound[i] + sound.substr(i));
        for (const char byte : std::string("{}[]\",:\\0e-. tnu1\n\x01\xC3")) {
            std::string damaged = sound;
            damaged[i] = byte;
            compare(damaged);
        }
    }
}

TEST(JsonDefect, saysInOneLineWhatIsWrong)
{
    EXPECT_EQ(jsonDefect(""), "the text is empty");
    EXPECT_EQ(jsonDefect("[nope]"), "a literal is neither true, false nor null");
    EXPECT_EQ(jsonDefect("[01]"), "a number is malformed");
    EXPECT_EQ(jsonDefect("[\"\\x\"]"), "a string holds a malformed escape");
    EXPECT_EQ(jsonDefect("[1 2]"), "a comma, colon, key, value or bracket is missing or out of place");
    EXPECT_EQ(jsonDefect("[1] 2"), "something follows the value");
    EXPECT_EQ(jsonDefect("\"\xFF\""), "the text is not UTF-8");
    EXPECT_EQ(jsonDefect(nested(600)), "arrays and objects are nested too deeply");
}

} // namespace
} // namespace vantry
