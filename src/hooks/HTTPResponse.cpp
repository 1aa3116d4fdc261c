#include "hooks/HTTPResponse.h"

namespace vantry {

std::string HTTPResponse::toBytes() const
{
    constexpr std::size_t fixedParts = 112; // All but status and body, with some room.
    std::string bytes;
    bytes.reserve(fixedParts + status.size() + body.size());
    bytes += "HTTP/1.1 ";
    bytes += status;
    bytes += "\r\nContent-Type: application/json\r\nContent-Length: ";
    bytes += std::to_string(body.size());
    bytes += "\r\nConnection: close\r\n\r\n";
    bytes += body;
    return bytes;
}

} // namespace vantry
