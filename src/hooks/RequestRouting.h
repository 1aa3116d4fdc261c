#pragma once

#include "hooks/HTTPResponse.h"

#include <string_view>
#include <variant>

namespace vantry {

class RequestFraming;

/// The body of a "POST /hook", to be decoded as an event.
struct HookBody
{
    std::string_view json; ///< A part of the request's buffer.

    friend bool operator==(const HookBody &, const HookBody &) = default;
};

/// What a request asks for: an event to take in, or else the answer that it gets. `buffer` is all that has arrived, as
/// `framing` has seen it; it need not be whole when the peer has stopped sending. A pure function, any thread.
[[nodiscard]] std::variant<HookBody, HTTPResponse> route(std::string_view buffer, const RequestFraming &framing);

} // namespace vantry
