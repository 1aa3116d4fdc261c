#include "hooks/RequestRouting.h"

#include "hooks/RequestFraming.h"
#include "hooks/RequestOrigin.h"

namespace vantry {

std::variant<HookBody, HTTPResponse> route(std::string_view buffer, const RequestFraming &framing)
{
    if (!framing.isUtf8())
        return responses::badRequest;
    if (!framing.headerLength())
        return responses::noBody;
    const std::string_view headerBlock = buffer.substr(0, *framing.headerLength());
    if (!isFromLocalProgram(headerBlock))
        return responses::notFound;

    // Kept on purpose: these are containment tests anywhere in the request line, so "/hookish" is "/hook", too.
    const std::string_view requestLine = headerBlock.substr(0, headerBlock.find("\r\n"));
    if (requestLine.find("POST /hook") != std::string_view::npos)
        return HookBody { buffer.substr(framing.bodyOffset()) };
    if (requestLine.find("GET /health") != std::string_view::npos)
        return responses::healthy;
    return responses::notFound;
}

} // namespace vantry
