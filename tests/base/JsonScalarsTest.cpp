#include "base/JsonScalars.h"

#include "base/JsonReader.h"

#include <gtest/gtest.h>

#include <limits>

namespace vantry {
namespace {

TEST(JsonScalars, takesNumbersInJsonsGrammarOnly)
{
    for (const char *sound : { "0", "-0", "10", "1.5", "1e5", "1E+5", "1e-5", "0.0", "-1.25e10", "1e400" })
        EXPECT_TRUE(isJsonNumber(sound)) << sound;
    for (const char *malformed : { "", "-", "01", "-01", "1.", ".5", "+1", "1e", "1e+", "1.e5", "0x10", "1 ", " 1",
                                   "1_0", "Infinity", "NaN", "--1", "1..2", "1e5.0" })
        EXPECT_FALSE(isJsonNumber(malformed)) << malformed;
}

TEST(JsonScalars, takesForAnIntegerWhatIsExactlyOne)
{
    EXPECT_EQ(exactJsonInteger("3"), 3);
    EXPECT_EQ(exactJsonInteger("3.0"), 3);
    EXPECT_EQ(exactJsonInteger("3e0"), 3);
    EXPECT_EQ(exactJsonInteger("1e3"), 1000);
    EXPECT_EQ(exactJsonInteger("0.5e1"), 5);
    EXPECT_EQ(exactJsonInteger("1200e-2"), 12);
    EXPECT_EQ(exactJsonInteger("-3.000"), -3);
    EXPECT_EQ(exactJsonInteger("-0"), 0);
    EXPECT_EQ(exactJsonInteger("0.0e99999999999999999999"), 0);
    EXPECT_EQ(exactJsonInteger("0.00012e5"), 12);
    EXPECT_EQ(exactJsonInteger("1000000000000000000000000000000e-30"), 1);
}

TEST(JsonScalars, takesNoIntegerForWhatIsNotOneOrDoesNotFit)
{
    for (const char *number : { "3.5", "1e-1", "1e-400", "1e400", "1e19", "1e99999999999999999999",
                                "1e-99999999999999999999", "123456789012345678901234567890", "9223372036854775808",
                                "-9223372036854775809", "9223372036854775807.5", "92233720368547758070e-2" })
        EXPECT_FALSE(exactJsonInteger(number)) << number;
}

TEST(JsonScalars, losesNoDigitOfAnInteger)
{
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(exactJsonInteger("9223372036854775807"), most);
    EXPECT_EQ(exactJsonInteger("9223372036854775807.0"), most);
    EXPECT_EQ(exactJsonInteger("9.223372036854775807e18"), most);
    EXPECT_EQ(exactJsonInteger("-9223372036854775808"), least);
    EXPECT_EQ(exactJsonInteger("-9223372036854775808.00"), least);
    EXPECT_EQ(exactJsonInteger("9007199254740993.0"), 9007199254740993);
}

TEST(JsonScalars, givesTheNearestDouble)
{
    EXPECT_EQ(nearestJsonDouble("3.5"), 3.5);
    EXPECT_EQ(nearestJsonDouble("123456789012345678901234567890"), 123456789012345678901234567890.0);
    EXPECT_EQ(nearestJsonDouble("1e-400"), 0.0);
    EXPECT_EQ(nearestJsonDouble("-1e-99999999999999999999"), 0.0);
    EXPECT_EQ(nearestJsonDouble("0.0000001e-400"), 0.0);
    EXPECT_EQ(nearestJsonDouble("4.9e-324"), std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(nearestJsonDouble("1.7976931348623157e308"), std::numeric_limits<double>::max());
}

TEST(JsonScalars, givesNoDoubleBeyondItsRange)
{
    EXPECT_FALSE(nearestJsonDouble("1e400"));
    EXPECT_FALSE(nearestJsonDouble("-1e400"));
    EXPECT_FALSE(nearestJsonDouble("1e99999999999999999999"));
    EXPECT_FALSE(nearestJsonDouble("1" + std::string(400, '0')));
}

TEST(JsonScalars, decodesEveryEscape)
{
    EXPECT_EQ(decodeJsonStringToUtf8(R"(\"\\\/\b\f\n\r\t)"), "\"\\/\b\f\n\r\t");
    EXPECT_EQ(decodeJsonStringToUtf8(R"(a\u00e9\u20AC\ud83d\ude00z)"), "a\u00E9\u20AC\U0001F600z");
    EXPECT_EQ(decodeJsonString(R"(a\ud83d\ude00)"), QStringLiteral("a\U0001F600"));
    EXPECT_EQ(decodeJsonString("plain \xC3\xA9"), QStringLiteral("plain \u00E9"));
    EXPECT_EQ(decodeJsonStringToUtf8(R"(\u0000)"), std::string(1, '\0'));
}

TEST(JsonScalars, replacesLoneSurrogates)
{
    const QString replacement = QStringLiteral("\uFFFD");
    EXPECT_EQ(decodeJsonString(R"(\ud800)"), replacement);
    EXPECT_EQ(decodeJsonString(R"(\udc00\ud800)"), QString(replacement + replacement));
    EXPECT_EQ(decodeJsonString(R"(\ud800\n)"), QString(replacement + u'\n'));
    EXPECT_EQ(decodeJsonString(R"(\ud800\ud83d\ude00)"), QString(replacement + QStringLiteral("\U0001F600")));
    EXPECT_EQ(decodeJsonStringKeepingSurrogates(R"(\ud800)"), "\xED\xA0\x80");
}

TEST(JsonScalars, refusesMalformedEscapes)
{
    for (const char *malformed : { "\\", "\\x", "\\u", "\\u12", "\\u12g4", "\\u 123", "\\u+123", "\\u-123", "ok\\",
                                   "\\ud800\\u12", "\\N", "\\'", "\\0" }) {
        EXPECT_FALSE(hasSoundEscapes(malformed)) << malformed;
        EXPECT_FALSE(decodeJsonString(malformed)) << malformed;
    }
    EXPECT_TRUE(hasSoundEscapes("\\\\u12"));
    EXPECT_TRUE(hasSoundEscapes(R"(\ud800 \udc00)"));
}

TEST(JsonScalars, keepsAByteOrderMarkInsideAString)
{
    EXPECT_EQ(decodeJsonString("\xEF\xBB\xBFx"), QStringLiteral("\uFEFFx"));
    EXPECT_EQ(decodeJsonString(R"(\ufeff\ufeffx)"), QStringLiteral("\uFEFF\uFEFFx"));
}

TEST(JsonScalars, findsAMalformedEscapeAnywhereInALongString)
{
    for (const std::string_view usual : { "x", "\\n", "\\\\", "\\\"" }) {
        std::string text;
        while (text.size() < 1'000)
            text += usual;
        ASSERT_TRUE(hasSoundEscapes(text));
        for (std::size_t at = 0; at < text.size(); at += usual.size()) {
            EXPECT_FALSE(hasSoundEscapes(std::string(text).insert(at, "\\q"))) << at;
            EXPECT_TRUE(hasSoundEscapes(std::string(text).insert(at, "\\u00e9"))) << at;
            EXPECT_FALSE(hasSoundEscapes(std::string(text).insert(at, "\\u00g9"))) << at;
        }
        EXPECT_FALSE(hasSoundEscapes(text + '\\'));
    }
}

TEST(JsonScalars, endsALongStringAtItsClosingQuoteAlone)
{
    for (const std::string_view usual : { "x", "\\n", "\\\\", "\\\"" }) {
        for (std::size_t count = 0; count < 300; ++count) {
            std::string inside;
            for (std::size_t i = 0; i < count; ++i)
                inside += usual;
            const std::string text = "\"" + inside + "\", \"next\", 1" + std::string(600, ' ');
            JsonReader reader(text);
            ASSERT_EQ(reader.readString(), inside);
        }
    }
}

} // namespace
} // namespace vantry
