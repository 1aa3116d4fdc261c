#include "base/JsonText.h"

#include <gtest/gtest.h>

namespace vantry {
namespace {

std::string pretty(std::string_view text)
{
    const auto parsed = JsonText::parse(text);
    EXPECT_TRUE(parsed) << text;
    return parsed ? parsed->toPrettyText() : std::string();
}

TEST(JsonText, indentsByTwoAndSortsKeysByTheirBytes)
{
    EXPECT_EQ(pretty(R"({"b":[1,{"z":2}],"a":{"k":"v"},"B":true,"é":null})"), "{\n"
                                                                              "  \"B\": true,\n"
                                                                              "  \"a\": {\n"
                                                                              "    \"k\": \"v\"\n"
                                                                              "  },\n"
                                                                              "  \"b\": [\n"
                                                                              "    1,\n"
                                                                              "    {\n"
                                                                              "      \"z\": 2\n"
                                                                              "    }\n"
                                                                              "  ],\n"
                                                                              "  \"é\": null\n"
                                                                              "}\n");
}

TEST(JsonText, writesEmptyArraysAndObjectsInOneLine)
{
    EXPECT_EQ(pretty("[ \n]"), "[]\n");
    EXPECT_EQ(pretty("{ }"), "{}\n");
    EXPECT_EQ(pretty(R"({"a":[],"b":{}})"), "{\n  \"a\": [],\n  \"b\": {}\n}\n");
}

TEST(JsonText, keepsEveryDigitAndEscape)
{
    for (const char *scalar : { "1.0", "1E5", "123456789012345678901234567890", "1e400", "-0", "0.10", R"("\ud800")",
                                R"("\u00e9\/")", R"("\\n")", "null" })
        EXPECT_EQ(pretty(scalar), std::string(scalar) + "\n");
}

TEST(JsonText, keepsKeysWithLoneSurrogatesAndControlCharacters)
{
    const auto text = "{\n  \"\\u0001\": 2,\n  \"\\n\\\"\\\\\": 3,\n  \"\\ud800\": 1\n}\n";
    EXPECT_EQ(pretty(text), text);
}

TEST(JsonText, skipsAByteOrderMark)
{
    EXPECT_EQ(pretty("\xEF\xBB\xBF{\"a\":1}"), "{\n  \"a\": 1\n}\n");
}

TEST(JsonText, keepsTheLastOfADoubledKeyInThePlaceOfTheFirst)
{
    const auto parsed = JsonText::parse(R"({"a":1,"b":2,"a":3})");

    ASSERT_EQ(parsed->members().size(), 2U);
    EXPECT_EQ(parsed->members()[0].key, "a");
    EXPECT_EQ(parsed->members()[0].value.toPrettyText(), "3\n");
}

TEST(JsonText, saysWhyATextCannotBeParsed)
{
    QString error;
    EXPECT_FALSE(JsonText::parse("{\"a\":}", &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(JsonText::parse("\"\xC3\"", &error));
    EXPECT_EQ(error, QStringLiteral("the text is not UTF-8"));
    EXPECT_FALSE(JsonText::parse("", &error));
    EXPECT_EQ(error, QStringLiteral("the text is empty"));
}

TEST(JsonText, readsStringsAndBooleans)
{
    const auto parsed = JsonText::parse(R"({"s":"a\u00e9\ud800","t":true,"f":false,"n":1,"o":{}})");

    EXPECT_EQ(parsed->find("s")->asString(), "a\u00E9\uFFFD");
    EXPECT_EQ(parsed->find("t")->asBoolean(), true);
    EXPECT_EQ(parsed->find("f")->asBoolean(), false);
    EXPECT_FALSE(parsed->find("n")->asBoolean());
    EXPECT_FALSE(parsed->find("t")->asString());
    EXPECT_FALSE(parsed->find("o")->asString());
    EXPECT_EQ(parsed->find("missing"), nullptr);
}

TEST(JsonText, setsReplacesAndRemovesMembers)
{
    JsonText object = JsonText::object();
    object.set("b", JsonText::boolean(true));
    object.set("a", JsonText::string("x"));
    object.set("b", JsonText::boolean(false));
    EXPECT_EQ(object.toPrettyText(), "{\n  \"a\": \"x\",\n  \"b\": false\n}\n");

    object.remove("a");
    object.remove("a");
    EXPECT_EQ(object.toPrettyText(), "{\n  \"b\": false\n}\n");
}

TEST(JsonText, changesAnArrayInPlace)
{
    auto parsed = JsonText::parse("[1,2.0,3]");
    std::erase_if(parsed->elements(), [](const JsonText &element) { return element.toPrettyText() == "1\n"; });
    parsed->elements().push_back(JsonText::string("four"));

    EXPECT_EQ(parsed->toPrettyText(), "[\n  2.0,\n  3,\n  \"four\"\n]\n");
}

TEST(JsonText, writesAnyTextAsAStringThatReadsBack)
{
    using namespace std::string_view_literals;
    for (const std::string_view text : { "plain"sv, "\"\\/\n\r\t\b\f\x01\x1F\x7F"sv, "\0"sv, "é\U0001F600\u2028"sv }) {
        const JsonText value = JsonText::string(text);
        EXPECT_EQ(value.asString(), text);
        EXPECT_EQ(jsonDefect(value.toPrettyText()), std::nullopt);
    }
    EXPECT_EQ(JsonText::string("a\xFF").asString(), "a\uFFFD");
}

TEST(JsonText, writesWhatItReadsUnchangedTheSecondTime)
{
    const std::string once = pretty(R"({"z":[[],[1,[2]]],"y":{"":{"\ud83d\ude00":1e5}},"x":"\u0000"})");
    EXPECT_EQ(pretty(once), once);
}

TEST(JsonText, readsAnObjectOfManyKeysInLinearTime)
{
    std::string text = "{";
    for (int i = 0; i < 50'000; ++i)
        text += "\"" + std::to_string(i) + "\":1,";
    text += "\"last\":2}";

    EXPECT_EQ(JsonText::parse(text)->members().size(), 50'001U);
}

} // namespace
} // namespace vantry
