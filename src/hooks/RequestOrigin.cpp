#include "hooks/RequestOrigin.h"

#include <algorithm>
#include <array>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace vantry {

namespace {

char lowered(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Equal in any case of ASCII letters; `lowercase` is in lower case already.
bool equals(std::string_view text, std::string_view lowercase)
{
    return std::ranges::equal(text, lowercase, {}, lowered);
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks { " \t" };
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

/// The address's bytes in network order, or false when the text is no literal of that family.
template <std::size_t Size>
bool parseAddress(int family, std::string_view text, std::array<unsigned char, Size> &bytes)
{
    std::array<char, INET6_ADDRSTRLEN> terminated {};
    if (text.size() >= terminated.size() || text.find('\0') != std::string_view::npos)
        return false;
    std::ranges::copy(text, terminated.begin());
    return inet_pton(family, terminated.data(), bytes.data()) == 1;
}

bool isLoopbackV4(std::string_view text)
{
    std::array<unsigned char, 4> bytes {};
    return parseAddress(AF_INET, text, bytes) && bytes.front() == 127;
}

bool isLoopbackV6(std::string_view text)
{
    std::array<unsigned char, 16> bytes {};
    constexpr std::array<unsigned char, 16> loopback { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 };
    return parseAddress(AF_INET6, text, bytes) && bytes == loopback;
}

/// Nothing, or a colon and the digits of a port.
bool isPortSuffix(std::string_view text)
{
    if (text.empty())
        return true;
    constexpr std::size_t longestPort = 5;
    return text.front() == ':' && text.size() <= 1 + longestPort &&
           std::ranges::all_of(text.substr(1), [](char c) { return c >= '0' && c <= '9'; });
}

bool isLoopbackHost(std::string_view value)
{
    if (value.starts_with('[')) {
        const std::size_t close = value.find(']');
        return close != std::string_view::npos && isLoopbackV6(value.substr(1, close - 1)) &&
               isPortSuffix(value.substr(close + 1));
    }
    // Without brackets a port can only be told from the address where that is the short form.
    constexpr std::string_view bareV6 { "::1" };
    if (value.starts_with(bareV6))
        return isPortSuffix(value.substr(bareV6.size()));
    const std::size_t colon = std::min(value.find(':'), value.size());
    const std::string_view name = value.substr(0, colon);
    return isPortSuffix(value.substr(colon)) &&
           (equals(name, "localhost") || equals(name, "localhost.") || isLoopbackV4(name));
}

bool isAcceptableHeader(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        return true;
    const std::string_view name = trimmed(line.substr(0, colon));
    const std::string_view value = trimmed(line.substr(colon + 1));
    if (equals(name, "host"))
        return isLoopbackHost(value);
    if (equals(name, "sec-fetch-site"))
        return equals(value, "none");
    return !equals(name, "origin");
}

} // namespace

bool isFromLocalProgram(std::string_view headerBlock)
{
    // A lone CR or LF ends a line here, too: better to look at a header too many than to miss one.
    constexpr std::string_view lineEnds { "\r\n" };
    std::size_t end = headerBlock.find_first_of(lineEnds);
    while (end != std::string_view::npos) {
        headerBlock.remove_prefix(end + 1);
        end = headerBlock.find_first_of(lineEnds);
        if (!isAcceptableHeader(headerBlock.substr(0, end)))
            return false;
    }
    return true;
}

} // namespace vantry
