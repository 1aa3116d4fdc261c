#include "hooks/RequestFraming.h"

#include <simdjson.h>

#include <algorithm>
#include <charconv>

namespace vantry {

namespace {

constexpr std::string_view contentLength { "content-length" };

char lowered(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Where the value behind the first "Content-Length: " begins, in any case and wherever it stands.
std::optional<std::size_t> findContentLength(std::string_view headers)
{
    for (std::size_t colon = headers.find(": "); colon != std::string_view::npos;
         colon = headers.find(": ", colon + 1)) {
        if (colon < contentLength.size())
            continue;
        const std::string_view name = headers.substr(colon - contentLength.size(), contentLength.size());
        if (std::ranges::equal(name, contentLength, {}, lowered))
            return colon + 2;
    }
    return std::nullopt;
}

/// How long the sequence is that begins with this byte; 1 for a byte that begins none.
std::size_t sequenceLength(unsigned char lead)
{
    if (lead >= 0xF0)
        return 4;
    if (lead >= 0xE0)
        return 3;
    return lead >= 0xC0 ? 2 : 1;
}

/// The length of the text without a sequence at its end that is still to be completed.
std::size_t lengthOfWholeSequences(std::string_view text)
{
    const std::size_t longest = std::min<std::size_t>(text.size(), 3);
    for (std::size_t back = 1; back <= longest; ++back) {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        const bool continues = (byte & 0xC0U) == 0x80U;
        if (!continues)
            return sequenceLength(byte) > back ? text.size() - back : text.size();
    }
    return text.size();
}

} // namespace

std::optional<std::int64_t> strictInteger(std::string_view text)
{
    // from_chars takes no plus sign, and a sign that follows one is no integer.
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-'))
            return std::nullopt;
    }
    std::int64_t value = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

void RequestFraming::advance(std::string_view buffer)
{
    checkUtf8(buffer);
    if (!m_headerLength)
        findHeaderEnd(buffer);
    m_length = buffer.size();
}

void RequestFraming::checkUtf8(std::string_view buffer)
{
    if (m_malformed)
        return;
    const std::string_view unchecked = buffer.substr(m_validLength);
    const std::size_t whole = lengthOfWholeSequences(unchecked);
    if (simdjson::validate_utf8(unchecked.data(), whole))
        m_validLength += whole;
    else
        m_malformed = true;
}

void RequestFraming::findHeaderEnd(std::string_view buffer)
{
    const std::size_t overlap = std::min(m_length, separator.size() - 1);
    const std::size_t end = buffer.find(separator, m_length - overlap);
    if (end == std::string_view::npos)
        return;
    m_headerLength = end;
    readHeaders(buffer.substr(0, end));
}

void RequestFraming::readHeaders(std::string_view headers)
{
    m_isGet = headers.starts_with("GET ");
    const std::optional<std::size_t> begin = findContentLength(headers);
    if (!begin)
        return;
    const std::size_t end = headers.find('\r', *begin);
    m_contentLength = strictInteger(headers.substr(*begin, end == std::string_view::npos ? end : end - *begin));
    // Kept on purpose: as the last header line, with no line end behind it inside the block, it delays nothing.
    m_waitsForBody = !m_isGet && m_contentLength && end != std::string_view::npos;
}

bool RequestFraming::isWhole() const
{
    if (!isUtf8() || !m_headerLength)
        return false;
    return !m_waitsForBody || *m_contentLength <= 0 || bodyLength() >= static_cast<std::uint64_t>(*m_contentLength);
}

std::optional<std::uint64_t> RequestFraming::announcedLength() const
{
    if (!m_headerLength || !m_contentLength || *m_contentLength < 0)
        return std::nullopt;
    return bodyOffset() + static_cast<std::uint64_t>(*m_contentLength);
}

bool RequestFraming::isExhausted() const
{
    return announcedLength() == m_length;
}

} // namespace vantry
