#include "hooks/RequestOrigin.h"

#include <gtest/gtest.h>

#include <string>

namespace vantry::test {
namespace {

bool isLocal(std::string_view headers)
{
    return isFromLocalProgram("POST /hook HTTP/1.1\r\n" + std::string(headers));
}

TEST(RequestOrigin, acceptsARequestWithoutAnySuchHeader)
{
    EXPECT_TRUE(isFromLocalProgram("POST /hook HTTP/1.1"));
    EXPECT_TRUE(isFromLocalProgram(""));
    EXPECT_TRUE(isLocal("Content-Type: application/json\r\nUser-Agent: x"));
}

class LoopbackHost : public ::testing::TestWithParam<const char *>
{};
class ForeignHost : public ::testing::TestWithParam<const char *>
{};

TEST_P(LoopbackHost, isAccepted)
{
    EXPECT_TRUE(isLocal("Host: " + std::string(GetParam())));
}

TEST_P(ForeignHost, isRefused)
{
    EXPECT_FALSE(isLocal("Host: " + std::string(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(RequestOrigin, LoopbackHost,
                         ::testing::Values("localhost", "localhost:49152", "LocalHost:1", "localhost.", "localhost.:80",
                                           "127.0.0.1", "127.0.0.1:49152", "127.255.255.254:5", "127.1.2.3", "[::1]",
                                           "[::1]:49152", "::1", "::1:49152", "[0:0:0:0:0:0:0:1]:80",
                                           "localhost:", " \t localhost:49152 \t "));
INSTANTIATE_TEST_SUITE_P(RequestOrigin, ForeignHost,
                         ::testing::Values("", " ", ":49152", "evil.example", "evil.example:49152",
                                           "localhost.evil.example", "localhost..", "127.0.0.1.evil.example",
                                           "127.0.0.1.", "127.1", "127.0.0.256", "127.0.0.01", "128.0.0.1", "0.0.0.0",
                                           "10.0.0.1:49152", "2130706433", "[::2]", "[::]", "::", "[::1", "::1]",
                                           "[::1]x", "[::1]:x", "[]", "[", "::11", "localhost:80:80", "localhost:x",
                                           "localhost:123456", "localhost, evil.example", "localhost evil",
                                           "user@localhost", "[::ffff:10.0.0.1]", "[::1%lo]", "1270.0.0.1"));

TEST(RequestOrigin, comparesHeaderNamesInAnyCase)
{
    EXPECT_FALSE(isLocal("hOST: evil.example"));
    EXPECT_FALSE(isLocal("ORIGIN: http://localhost"));
    EXPECT_FALSE(isLocal("sec-fetch-SITE: cross-site"));
}

TEST(RequestOrigin, looksAtEveryHost)
{
    EXPECT_FALSE(isLocal("Host: localhost\r\nHost: evil.example"));
    EXPECT_FALSE(isLocal("Host: evil.example\r\nHost: localhost"));
    EXPECT_TRUE(isLocal("Host: localhost\r\nHost: 127.0.0.1"));
}

TEST(RequestOrigin, refusesWhateverHasAnOrigin)
{
    for (const char *origin : { "http://evil.example", "null", "", "http://localhost:49152" })
        EXPECT_FALSE(isLocal("Host: localhost\r\nOrigin: " + std::string(origin))) << origin;
}

TEST(RequestOrigin, refusesWhatAPageFetches)
{
    for (const char *site : { "cross-site", "same-site", "same-origin", "", "none, cross-site" })
        EXPECT_FALSE(isLocal("Sec-Fetch-Site: " + std::string(site))) << site;
    EXPECT_TRUE(isLocal("Sec-Fetch-Site: none"));
    EXPECT_TRUE(isLocal("Sec-Fetch-Mode: cors"));
}

TEST(RequestOrigin, isNotDeceivedByBlanksAndLineEnds)
{
    EXPECT_FALSE(isLocal("Host:evil.example"));
    EXPECT_FALSE(isLocal("Host : evil.example"));
    EXPECT_FALSE(isLocal(" Host: evil.example"));
    EXPECT_FALSE(isLocal("X: y\nOrigin: null"));
    EXPECT_FALSE(isLocal("X: y\rHost: evil.example"));
}

TEST(RequestOrigin, isNotDeceivedByAZeroByte)
{
    using namespace std::string_literals;

    EXPECT_FALSE(isLocal("Host: 127.0.0.1\0.evil.example"s));
    EXPECT_FALSE(isLocal("Host: [::1\0]"s));
}

TEST(RequestOrigin, takesOtherHeadersAsTheyAre)
{
    EXPECT_TRUE(isLocal("X-Origin: a\r\nOriginal: b\r\nX-Host: c\r\nX: Host: evil.example\r\nno colon"));
}

TEST(RequestOrigin, doesNotTakeTheRequestLineForAHeader)
{
    EXPECT_TRUE(isFromLocalProgram("Origin: POST /hook"));
}

} // namespace
} // namespace vantry::test
