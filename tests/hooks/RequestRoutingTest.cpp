#include "hooks/RequestRouting.h"

#include "hooks/RequestFraming.h"

#include <gtest/gtest.h>

#include <string>

namespace vantry::test {
namespace {

std::variant<HookBody, HTTPResponse> routed(std::string_view request)
{
    RequestFraming framing;
    framing.advance(request);
    return route(request, framing);
}

/// The answer, or an empty one for a body that is to be decoded.
HTTPResponse answerTo(std::string_view request)
{
    const auto result = routed(request);
    const auto *response = std::get_if<HTTPResponse>(&result);
    return response ? *response : HTTPResponse {};
}

/// The body, or "(answered)".
std::string bodyOf(std::string_view request)
{
    const auto result = routed(request);
    const auto *body = std::get_if<HookBody>(&result);
    return body ? std::string(body->json) : "(answered)";
}

TEST(RequestRouting, answersWhatIsNoUtf8AsABadRequest)
{
    EXPECT_EQ(answerTo("POST /hook HTTP/1.1\r\n\r\n\xFF"), responses::badRequest);
    EXPECT_EQ(answerTo("\xFF"), responses::badRequest);
    EXPECT_EQ(answerTo("POST /hook HTTP/1.1\r\n\r\nhalf a character \xC3"), responses::badRequest);
}

TEST(RequestRouting, answersWhatHasNoEndOfHeaders)
{
    EXPECT_EQ(answerTo(""), responses::noBody);
    EXPECT_EQ(answerTo("POST /hook HTTP/1.1\r\n"), responses::noBody);
    EXPECT_EQ(answerTo("POST /hook HTTP/1.1\n\n{}"), responses::noBody);
}

TEST(RequestRouting, answersHealth)
{
    EXPECT_EQ(answerTo("GET /health HTTP/1.1\r\n\r\n"), responses::healthy);
    EXPECT_EQ(answerTo("x GET /healthy y\r\n\r\nbody"), responses::healthy);
}

TEST(RequestRouting, doesNotKnowOtherPaths)
{
    EXPECT_EQ(answerTo("GET / HTTP/1.1\r\n\r\n"), responses::notFound);
    EXPECT_EQ(answerTo("GET /hook HTTP/1.1\r\n\r\n"), responses::notFound);
    EXPECT_EQ(answerTo("PUT /hook HTTP/1.1\r\n\r\n"), responses::notFound);
    EXPECT_EQ(answerTo("POST /health HTTP/1.1\r\n\r\n"), responses::notFound);
    EXPECT_EQ(answerTo("post /hook HTTP/1.1\r\n\r\n"), responses::notFound);
    EXPECT_EQ(answerTo("POST  /hook HTTP/1.1\r\n\r\n"), responses::notFound);
    EXPECT_EQ(answerTo("\r\n\r\n"), responses::notFound);
}

TEST(RequestRouting, findsTheHookAnywhereInTheRequestLine)
{
    EXPECT_EQ(bodyOf("POST /hook HTTP/1.1\r\n\r\nb"), "b");
    EXPECT_EQ(bodyOf("POST /hookish HTTP/1.1\r\n\r\nb"), "b");
    EXPECT_EQ(bodyOf("GET /?POST /hook\r\n\r\nb"), "b");
    EXPECT_EQ(bodyOf("POST /hook GET /health\r\n\r\nb"), "b");
    EXPECT_EQ(answerTo("GET /\r\nX: POST /hook\r\n\r\nb"), responses::notFound);
}

TEST(RequestRouting, takesAllBehindTheHeadersAsTheBody)
{
    EXPECT_EQ(bodyOf("POST /hook\r\nContent-Length: 1\r\nX: y\r\n\r\nab\r\n\r\nc"), "ab\r\n\r\nc");
    EXPECT_EQ(bodyOf("POST /hook\r\n\r\n"), "");
}

TEST(RequestRouting, refusesBrowsersAndForeignNamesWhateverTheyAskFor)
{
    for (const char *line : { "POST /hook", "GET /health", "GET /" }) {
        EXPECT_EQ(answerTo(line + std::string("\r\nOrigin: null\r\n\r\n{}")), responses::notFound);
        EXPECT_EQ(answerTo(line + std::string("\r\nHost: evil.example\r\n\r\n{}")), responses::notFound);
    }
}

TEST(RequestRouting, tellsBrokenRequestsBeforeItRefuses)
{
    EXPECT_EQ(answerTo("POST /hook\r\nOrigin: null\r\n\r\n\xFF"), responses::badRequest);
    EXPECT_EQ(answerTo("POST /hook\r\nOrigin: null\r\n"), responses::noBody);
}

} // namespace
} // namespace vantry::test
