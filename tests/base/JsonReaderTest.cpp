#include "base/JsonReader.h"

#include "base/JsonText.h"

#include <gtest/gtest.h>
#include <simdjson.h>

#include <string>

namespace vantry {
namespace {

/// Whether both ways to check a text say the same. One of them is told that it is UTF-8.
void compare(const std::string &text)
{
    if (simdjson::validate_utf8(text)) {
        EXPECT_EQ(isSoundJson(text), !jsonDefect(text)) << text;
    }
}

TEST(JsonReader, findsTheSameTextsSoundAsTheCheckThatSaysWhatIsWrong)
{
    for (const char *text : { "",
                              " ",
                              "{}",
                              "[]",
                              "0",
                              "\"a\"",
                              " true ",
                              "null",
                              "nul",
                              "nulll",
                              "True",
                              "-1.5e3",
                              "01",
                              "1.",
                              ".5",
                              "+1",
                              "1e",
                              "-",
                              "1 2",
                              "[1,]",
                              "[,1]",
                              "[,]",
                              "[1 2]",
                              "[1}",
                              "{,}",
                              "{\"a\"}",
                              "{\"a\":}",
                              "{a:1}",
                              "[1]x",
                              "{}x",
                              "{}{}",
                              "NaN",
                              "true[]",
                              "[]true",
                              "1[",
                              "{1:2}",
                              "\"",
                              "\"a",
                              "\"\\\"",
                              "\"\\x\"",
                              "[\"\x7F\"]",
                              "\"a\tb\"",
                              "[1/**/]",
                              "\xEF\xBB\xBF{}",
                              R"({"a":1,})",
                              R"({"a":1,"a":2})",
                              R"({"a" 1})",
                              R"({"\u0061":"\ud800"})",
                              "\v{}",
                              "{\"a\":1}}" })
        compare(text);
    using namespace std::string_literals;
    compare("{}\0"s);
    compare("\0{}"s);
    compare("[1\0]"s);
    compare("\"\0\""s);
}

TEST(JsonReader, findsTheSameDamage)
{
    // Every single change of a byte, every cut and every doubled byte of a text that holds all kinds of value.
    const std::string longText(300, 'x');
    const std::string sound = R"( {"a" : [1, -2.5e+3, true, false,null], "\u00e9\n":{"b":"c\\\"d"},"":[],"x":{"y":")" +
                              longText + R"(\n"}} )";
    for (std::size_t i = 0; i < sound.size(); i += sound[i] == 'x' && i % 7 != 0 ? 2 : 1) {
        compare(sound.substr(0, i));
        compare(sound.substr(i));
        compare(sound.substr(0, i) + sound.substr(i + 1));
        compare(sound.substr(0, i) + sound[i] + sound.substr(i));
        for (const char byte : std::string("{}[]\",:\\0e-. tnu1\n\x01")) {
            std::string damaged = sound;
            damaged[i] = byte;
            compare(damaged);
        }
    }
}

TEST(JsonReader, limitsNesting)
{
    for (const int depth : { maximumJsonDepth - 1, maximumJsonDepth, maximumJsonDepth + 1, 100'000 }) {
        const auto count = static_cast<std::size_t>(depth);
        compare(std::string(count, '[') + std::string(count, ']'));
        compare(std::string(count, '['));
        std::string objects;
        for (std::size_t i = 0; i < count; ++i)
            objects += "{\"a\":";
        compare(objects + "1" + std::string(count, '}'));
    }
}

TEST(JsonReader, checksTheInsidesOfStringsOnlyWhenAsked)
{
    const std::string text = R"({"a":"\q"})";
    JsonReader trusting(text);
    trusting.readValue();
    EXPECT_TRUE(trusting.isAtEnd());
    JsonReader checking(text, JsonReader::Strings::Checked);
    checking.readValue();
    EXPECT_TRUE(checking.hasFailed());
    EXPECT_FALSE(checking.isAtEnd());
}

TEST(JsonReader, standsAtNothingOnceItHasFailed)
{
    JsonReader reader(R"({"a":1 "b":2})");
    int members = 0;
    reader.readObject([&](std::string_view) {
        reader.readValue();
        ++members;
    });
    EXPECT_EQ(members, 1);
    EXPECT_TRUE(reader.hasFailed());
    EXPECT_EQ(reader.next(), JsonReader::Kind::Nothing);
    EXPECT_EQ(reader.readValue(), "");
    reader.readArray([] { FAIL(); });
}

} // namespace
} // namespace vantry
