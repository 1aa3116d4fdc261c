#include "base/AnyCodable.h"

#include "base/JsonText.h"

#include <gtest/gtest.h>

namespace vantry {
namespace {

nlohmann::json valueOf(std::string_view object, std::string_view key)
{
    const auto map = AnyCodableMap::fromText(object);
    EXPECT_TRUE(map) << object;
    const auto value = map ? map->value(key) : std::nullopt;
    EXPECT_TRUE(value) << object;
    return value ? value->value : nlohmann::json("no value");
}

TEST(AnyCodableMap, typesEachKindOfValue)
{
    const auto text = R"({"i":3,"f":3.5,"b":true,"n":null,"s":"x","a":[1,"y",{"z":false}],"m":{"k":[]}})";

    EXPECT_TRUE(valueOf(text, "i").is_number_integer());
    EXPECT_TRUE(valueOf(text, "f").is_number_float());
    EXPECT_EQ(valueOf(text, "b"), true);
    EXPECT_TRUE(valueOf(text, "n").is_null());
    EXPECT_EQ(valueOf(text, "s"), "x");
    EXPECT_EQ(valueOf(text, "a"), nlohmann::json::parse(R"([1,"y",{"z":false}])"));
    EXPECT_EQ(valueOf(text, "m"), nlohmann::json::parse(R"({"k":[]})"));
}

TEST(AnyCodableMap, makesAnIntegerOfWhatIsExactlyOne)
{
    for (const char *text : { R"({"n":3})", R"({"n":3.0})", R"({"n":3e0})", R"({"n":0.3e1})" }) {
        EXPECT_TRUE(valueOf(text, "n").is_number_integer()) << text;
        EXPECT_EQ(valueOf(text, "n"), 3) << text;
    }
}

TEST(AnyCodableMap, makesADoubleOfAnIntegerBeyond64Bits)
{
    const auto value = valueOf(R"({"n":123456789012345678901234567890})", "n");
    EXPECT_TRUE(value.is_number_float());
    EXPECT_EQ(value.get<double>(), 123456789012345678901234567890.0);
    EXPECT_TRUE(valueOf(R"({"n":9223372036854775808})", "n").is_number_float());
}

TEST(AnyCodableMap, makesNullOfANumberBeyondADouble)
{
    EXPECT_TRUE(valueOf(R"({"n":1e400})", "n").is_null());
    EXPECT_TRUE(valueOf(R"({"n":[-1e400]})", "n")[0].is_null());
    EXPECT_EQ(valueOf(R"({"n":1e-400})", "n"), 0.0);
}

TEST(AnyCodableMap, takesTheLastOfADoubledKey)
{
    EXPECT_EQ(valueOf(R"({"a":1,"b":2,"a":3})", "a"), 3);
    EXPECT_EQ(valueOf(R"({"a":1,"\u0061":4})", "a"), 4);
    EXPECT_EQ(AnyCodableMap::fromText(R"({"a":1,"a":3})")->toJson(), nlohmann::json({ { "a", 3 } }));
}

TEST(AnyCodableMap, findsKeysWhateverStandsAroundThem)
{
    const auto text = R"({"x":{"a":1},"y":"\"a\":2,","z":["a",3],"a":4,"w":"}"})";
    EXPECT_EQ(valueOf(text, "a"), 4);
    EXPECT_EQ(valueOf(text, "w"), "}");
    EXPECT_FALSE(AnyCodableMap::fromText(text)->value("b"));
}

TEST(AnyCodableMap, replacesLoneSurrogates)
{
    EXPECT_EQ(valueOf(R"({"s":"a\ud800b"})", "s"), "a\uFFFDb");
    // What comes out can be written: nlohmann throws on invalid UTF-8.
    EXPECT_NO_THROW(static_cast<void>(AnyCodableMap::fromText(R"({"\udc00":"\ud800"})")->toJson().dump()));
}

TEST(AnyCodableMap, keepsItsSourceDigitForDigit)
{
    const auto source = R"({"n":1.0, "m":12345678901234567890123, "s":"\ud800"})";
    EXPECT_EQ(AnyCodableMap::fromText(std::string(" ") + source + "\n")->sourceText(), source);
}

TEST(AnyCodableMap, isEmptyWithoutMembers)
{
    EXPECT_TRUE(AnyCodableMap().isEmpty());
    EXPECT_EQ(AnyCodableMap().sourceText(), "{}");
    EXPECT_EQ(AnyCodableMap().toJson(), nlohmann::json::object());
    EXPECT_TRUE(AnyCodableMap::fromText(" { \n } ")->isEmpty());
    EXPECT_FALSE(AnyCodableMap::fromText(R"({ "":null})")->isEmpty());
}

TEST(AnyCodableMap, refusesWhatIsNotASoundObject)
{
    for (const char *text : { "", "[]", "3", "null", "{", R"({"a":nope})", R"({"a":[1,]})", R"({"a":1} x)" })
        EXPECT_FALSE(AnyCodableMap::fromText(text)) << text;
}

TEST(AnyCodableMap, comparesByValue)
{
    EXPECT_EQ(AnyCodableMap::fromText(R"({"a":1,"b":[2.0]})"), AnyCodableMap::fromText(R"({ "b":[2], "a":1e0 })"));
    EXPECT_NE(AnyCodableMap::fromText(R"({"a":1})"), AnyCodableMap::fromText(R"({"a":"1"})"));
}

TEST(AnyCodableMap, readsValuesAtTheDeepestNesting)
{
    const auto depth = static_cast<std::size_t>(maximumJsonDepth - 1);
    const std::string text = R"({"a":)" + std::string(depth, '[') + std::string(depth, ']') + "}";

    const auto map = AnyCodableMap::fromText(text);

    ASSERT_TRUE(map);
    EXPECT_EQ(map->toJson().dump(), text);
}

TEST(AnyCodableMap, staysWithinUncheckedText)
{
    for (const char *text :
         { "", "{", "{\"", "{\"a\"", "{\"a\":", "{\"a\":[", "{\"a\":\"\\", "}", "[", "x", "{,}", "{\"a\":}" }) {
        const AnyCodableMap map { std::string(text) };
        static_cast<void>(map.isEmpty());
        static_cast<void>(map.value("a"));
        static_cast<void>(map.toJson());
    }
}

} // namespace
} // namespace vantry
