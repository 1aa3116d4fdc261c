#include "hooks/HTTPResponse.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

TEST(HTTPResponse, hasItsExactBytes)
{
    EXPECT_EQ(responses::notFound.toBytes(),
              "HTTP/1.1 404 Not Found\r\nContent-Type: application/json\r\nContent-Length: 21\r\n"
              "Connection: close\r\n\r\n{\"error\":\"not found\"}");
}

TEST(HTTPResponse, countsTheBodyInBytes)
{
    EXPECT_EQ((HTTPResponse { "200 OK", "\xC3\xA9" }).toBytes(),
              "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n"
              "Connection: close\r\n\r\n\xC3\xA9");
}

TEST(HTTPResponse, mayHaveNoBody)
{
    EXPECT_TRUE((HTTPResponse { "200 OK", "" }).toBytes().ends_with("Content-Length: 0\r\nConnection: close\r\n\r\n"));
}

} // namespace
} // namespace vantry::test
