#pragma once

#include <string>
#include <string_view>

namespace vantry {

/// An answer: its status text, as in "200 OK", and its JSON body. Both texts must outlive the value.
struct HTTPResponse
{
    std::string_view status;
    std::string_view body;

    /// As it goes out, in one piece.
    [[nodiscard]] std::string toBytes() const;

    friend bool operator==(const HTTPResponse &, const HTTPResponse &) = default;
};

/// All answers that the server gives by itself.
namespace responses {

inline constexpr HTTPResponse ok { "200 OK", "{}" };
inline constexpr HTTPResponse healthy { "200 OK", R"({"status":"ok"})" };
/// For a question: the agent goes on to ask it in its terminal.
inline constexpr HTTPResponse autoAllow {
    "200 OK", R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})"
};
inline constexpr HTTPResponse badRequest { "400 Bad Request", R"({"error":"bad request"})" };
inline constexpr HTTPResponse noBody { "400 Bad Request", R"({"error":"no body"})" };
/// Reserved for a body that can't be made into bytes; one that was cut out of UTF-8 text always can.
inline constexpr HTTPResponse invalidBody { "400 Bad Request", R"({"error":"invalid body"})" };
inline constexpr HTTPResponse notFound { "404 Not Found", R"({"error":"not found"})" };

} // namespace responses

} // namespace vantry
