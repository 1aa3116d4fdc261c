#include "hooks/RequestFraming.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace vantry::test {
namespace {

RequestFraming framed(std::string_view bytes)
{
    RequestFraming framing;
    framing.advance(bytes);
    return framing;
}

bool isWhole(std::string_view bytes)
{
    return framed(bytes).isWhole();
}

std::string post(std::string_view headers, std::string_view body)
{
    return "POST /hook HTTP/1.1\r\n" + std::string(headers) + "\r\n\r\n" + std::string(body);
}

TEST(RequestFraming, waitsForTheEndOfTheHeaderBlock)
{
    EXPECT_FALSE(isWhole(""));
    EXPECT_FALSE(isWhole("GET /health HTTP/1.1\r\n"));
    EXPECT_FALSE(isWhole("GET /health HTTP/1.1\r\nHost: localhost\r\n\r"));
    EXPECT_TRUE(isWhole("GET /health HTTP/1.1\r\nHost: localhost\r\n\r\n"));
}

TEST(RequestFraming, wantsNoBodyOfAGet)
{
    EXPECT_TRUE(isWhole("GET /health HTTP/1.1\r\nContent-Length: 5\r\nHost: localhost\r\n\r\n"));
    EXPECT_FALSE(isWhole("get /health HTTP/1.1\r\nContent-Length: 5\r\nHost: localhost\r\n\r\n"));
    EXPECT_FALSE(isWhole(" GET /health HTTP/1.1\r\nContent-Length: 5\r\nHost: localhost\r\n\r\n"));
}

TEST(RequestFraming, waitsForTheAnnouncedBody)
{
    EXPECT_FALSE(isWhole(post("Content-Length: 3\r\nHost: h", "")));
    EXPECT_FALSE(isWhole(post("Content-Length: 3\r\nHost: h", "ab")));
    EXPECT_TRUE(isWhole(post("Content-Length: 3\r\nHost: h", "abc")));
    EXPECT_TRUE(isWhole(post("Content-Length: 3\r\nHost: h", "abcd")));
    EXPECT_TRUE(isWhole(post("Content-Length: 0\r\nHost: h", "")));
}

TEST(RequestFraming, countsTheBodyInBytes)
{
    EXPECT_FALSE(isWhole(post("Content-Length: 3\r\nHost: h", "\xC3\xA9")));
    EXPECT_TRUE(isWhole(post("Content-Length: 2\r\nHost: h", "\xC3\xA9")));
}

TEST(RequestFraming, honoursContentLengthInAnyCase)
{
    for (const char *name : { "content-length: ", "CONTENT-LENGTH: ", "cOnTeNt-LeNgTh: " })
        EXPECT_FALSE(isWhole(post(name + std::string("3\r\nHost: h"), ""))) << name;
}

TEST(RequestFraming, doesNotWaitForALengthThatIsTheLastHeaderLine)
{
    EXPECT_TRUE(isWhole(post("Host: h\r\nContent-Length: 3", "")));
}

TEST(RequestFraming, findsContentLengthWhereverItStands)
{
    EXPECT_FALSE(isWhole(post("X-Content-Length: 3\r\nHost: h", "")));
    EXPECT_FALSE(isWhole("POST /hook?Content-Length: 3\r\nHost: h\r\n\r\n"));
    EXPECT_FALSE(isWhole("Content-Length: 3\r\nHost: h\r\n\r\n"));
}

TEST(RequestFraming, takesTheFirstContentLength)
{
    EXPECT_TRUE(isWhole(post("Content-Length: 1\r\nContent-Length: 9\r\nHost: h", "a")));
    EXPECT_TRUE(isWhole(post("Content-Length: x\r\nContent-Length: 9\r\nHost: h", "a")));
    EXPECT_FALSE(isWhole(post("X: content-length\r\nContent-Length: 9\r\nHost: h", "a")));
}

TEST(RequestFraming, looksForContentLengthInTheHeaderBlockAlone)
{
    EXPECT_TRUE(isWhole(post("Host: h", "Content-Length: 300\r\nX: y")));
}

TEST(RequestFraming, isWholeWithoutABlankBehindTheColon)
{
    EXPECT_TRUE(isWhole(post("Content-Length:3\r\nHost: h", "")));
}

class DelayingLength : public ::testing::TestWithParam<const char *>
{};
class HarmlessLength : public ::testing::TestWithParam<const char *>
{};

TEST_P(DelayingLength, delaysTheRequest)
{
    EXPECT_FALSE(isWhole(post("Content-Length: " + std::string(GetParam()) + "\r\nHost: h", "")));
}

TEST_P(HarmlessLength, delaysNothing)
{
    EXPECT_TRUE(isWhole(post("Content-Length: " + std::string(GetParam()) + "\r\nHost: h", "")));
}

INSTANTIATE_TEST_SUITE_P(RequestFraming, DelayingLength, ::testing::Values("3", "+3", "003", "9223372036854775807"));
INSTANTIATE_TEST_SUITE_P(RequestFraming, HarmlessLength,
                         ::testing::Values("", " 3", "3 ", "3x", "0x3", "3.0", "-3", "-0", "+-3", "++3", "--3", "+",
                                           "-", "3\n", "\xD9\xA3", "9223372036854775808", "-9223372036854775808"));

TEST(RequestFraming, isNeverWholeWithWhatIsNoUtf8)
{
    EXPECT_FALSE(isWhole("GET /health HTTP/1.1\r\nX: \xFF\r\n\r\n"));
    EXPECT_FALSE(isWhole("GET /health HTTP/1.1\r\n\r\n\xFF"));
    EXPECT_TRUE(framed("GET /\xFF ").isMalformed());

    RequestFraming framing = framed("GET /\xC0 HTTP/1.1\r\n\r\n");
    framing.advance("GET /\xC0 HTTP/1.1\r\n\r\nmore");
    EXPECT_FALSE(framing.isWhole());
    EXPECT_FALSE(framing.isUtf8());
}

TEST(RequestFraming, waitsForTheRestOfACharacter)
{
    const std::string request = post("Content-Length: 1\r\nHost: h", "a\xF0\x9F\x98\x80");

    for (std::size_t missing = 1; missing <= 3; ++missing) {
        const RequestFraming framing = framed(std::string_view(request).substr(0, request.size() - missing));
        EXPECT_FALSE(framing.isWhole()) << missing;
        EXPECT_FALSE(framing.isMalformed()) << missing;
        EXPECT_FALSE(framing.isUtf8()) << missing;
    }
    EXPECT_TRUE(isWhole(request));
}

TEST(RequestFraming, takesNothingAsUtf8)
{
    EXPECT_TRUE(framed("").isUtf8());
}

TEST(RequestFraming, tellsWhereTheBodyBegins)
{
    const std::string request = post("Host: h", "body\r\n\r\nmore");

    const RequestFraming framing = framed(request);

    EXPECT_EQ(request.substr(0, *framing.headerLength()), "POST /hook HTTP/1.1\r\nHost: h");
    EXPECT_EQ(request.substr(framing.bodyOffset()), "body\r\n\r\nmore");
}

TEST(RequestFraming, announcesTheLengthOfTheWholeRequest)
{
    const std::string request = post("Content-Length: 200000\r\nHost: h", "");

    EXPECT_EQ(framed(request).announcedLength(), request.size() + 200000);
    EXPECT_FALSE(framed(request.substr(0, request.size() - 1)).announcedLength());
    EXPECT_FALSE(framed(post("Host: h", "")).announcedLength());
    EXPECT_FALSE(framed(post("Content-Length: -5\r\nHost: h", "")).announcedLength());
}

TEST(RequestFraming, isExhaustedWhenThePeerHasSentWhatItAnnounced)
{
    EXPECT_TRUE(framed(post("Content-Length: 3\r\nHost: h", "abc")).isExhausted());
    EXPECT_TRUE(framed(post("Host: h\r\nContent-Length: 3", "abc")).isExhausted());
    EXPECT_TRUE(framed("GET / HTTP/1.1\r\nContent-Length: 0\r\nHost: h\r\n\r\n").isExhausted());
    EXPECT_FALSE(framed("GET / HTTP/1.1\r\n\r\n").isExhausted());
    EXPECT_FALSE(framed(post("Content-Length: 3\r\nHost: h", "abcd")).isExhausted());
    EXPECT_FALSE(framed(post("Host: h\r\nContent-Length: 3", "")).isExhausted());
    EXPECT_FALSE(framed(post("Host: h", "")).isExhausted());
    EXPECT_FALSE(framed("GET / HTTP/1.1\r\n\r\nmore").isExhausted());
    EXPECT_FALSE(framed("GET / HTTP/1.1\r\nContent-Length: 9\r\nHost: h\r\n\r\n").isExhausted());
    EXPECT_FALSE(framed("").isExhausted());
}

/// Two states that tell the same.
void expectSame(const RequestFraming &a, const RequestFraming &b, std::string_view where)
{
    EXPECT_EQ(a.isWhole(), b.isWhole()) << where;
    EXPECT_EQ(a.isUtf8(), b.isUtf8()) << where;
    EXPECT_EQ(a.headerLength(), b.headerLength()) << where;
    EXPECT_EQ(a.announcedLength(), b.announcedLength()) << where;
    EXPECT_EQ(a.isExhausted(), b.isExhausted()) << where;
}

const std::vector<std::string> &variedRequests()
{
    static const std::vector<std::string> requests {
        post("Host: h\r\nContent-Length: 9\r\nX: \xC3\xA9", "{\"\xE2\x82\xAC\":\xF0"),
        post("Content-Length: 8\r\nHost: \xF0\x9F\x98\x80", "\xF0\x9F\x98\x80\xF0\x9F\x98\x80"),
        post("Content-Length: 4\r\nHost: h", "\r\n\r\n"),
        post("Host: h", "\xC3"),
        post("Content-Length: 4\r\nHost: h", "\xE2\x82x\xAC"),
        "GET / HTTP/1.1\r\r\n\r\r\n\r\n\r\n",
        "\r\n\r\n\r\n",
        "\xED\xA0\x80\r\n\r\n",
    };
    return requests;
}

TEST(RequestFraming, isTheSameWhereverTheRequestIsSplit)
{
    for (const std::string &request : variedRequests()) {
        const RequestFraming whole = framed(request);
        for (std::size_t split = 0; split <= request.size(); ++split) {
            RequestFraming framing = framed(std::string_view(request).substr(0, split));
            framing.advance(request);
            expectSame(framing, whole, request);
        }
    }
}

TEST(RequestFraming, isTheSameByteByByte)
{
    for (const std::string &request : variedRequests()) {
        RequestFraming framing;
        for (std::size_t length = 1; length <= request.size(); ++length) {
            const std::string_view part = std::string_view(request).substr(0, length);
            framing.advance(part);
            expectSame(framing, framed(part), part);
        }
    }
}

TEST(RequestFraming, isTheSameInRandomPieces)
{
    std::mt19937 random(1);
    const std::string alphabet = "\r\n\r\n\r\nContent-Length: 3 GET\xC3\xA9\xF0\x9F\x98\x80\xFF";
    for (int round = 0; round < 2000; ++round) {
        std::string request = round % 2 == 0 ? "GET / \r\n" : "POST /hook \r\nContent-Length: 7\r\nX: ";
        for (int i = 0; i < 40; ++i)
            request += alphabet[random() % (alphabet.size() - (round % 3 == 0 ? 0 : 1))];
        RequestFraming framing;
        for (std::size_t length = 0; length < request.size();) {
            length = std::min(request.size(), length + 1 + random() % 9);
            framing.advance(std::string_view(request).substr(0, length));
        }
        expectSame(framing, framed(request), request);
    }
}

TEST(StrictInteger, takesASignAndDigitsAlone)
{
    EXPECT_EQ(strictInteger("42"), 42);
    EXPECT_EQ(strictInteger("+42"), 42);
    EXPECT_EQ(strictInteger("-42"), -42);
    EXPECT_EQ(strictInteger("0042"), 42);
    EXPECT_EQ(strictInteger("-9223372036854775808"), INT64_MIN);
    for (const char *none : { "", "+", "-", " 1", "1 ", "+-1", "-+1", "1_000", "1e3", "9223372036854775808" })
        EXPECT_FALSE(strictInteger(none)) << none;
}

} // namespace
} // namespace vantry::test
