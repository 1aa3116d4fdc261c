#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace vantry {

/// Tells, while a request's bytes arrive, whether it is whole. Every byte is read once, however the request is split,
/// so the work is linear in its length. A plain value without I/O; any thread, one at a time.
///
/// The rules are those of a deliberately small server and are kept to the letter, the odd ones included: a
/// "Content-Length: " that is the last header line, or whose value is no plain integer, delays nothing, and text that
/// is not (or not yet) UTF-8 is never whole.
class RequestFraming
{
public:
    /// Takes note of what has arrived. `buffer` is everything since the request's first byte: what the last call was
    /// given, unchanged, and what is new behind it.
    void advance(std::string_view buffer);

    /// Whether the request can be processed without waiting for more.
    [[nodiscard]] bool isWhole() const;
    /// Whether all of it, up to the last byte, is UTF-8.
    [[nodiscard]] bool isUtf8() const { return !m_malformed && m_validLength == m_length; }
    /// Whether no further byte can make it UTF-8. It is never whole then, and need not be kept.
    [[nodiscard]] bool isMalformed() const { return m_malformed; }
    /// The length of the header block, without the empty line that ends it; nothing before that line has arrived.
    [[nodiscard]] std::optional<std::size_t> headerLength() const { return m_headerLength; }
    /// Where the body begins. Only with a header block.
    [[nodiscard]] std::size_t bodyOffset() const { return *m_headerLength + separator.size(); }
    /// How many bytes the whole request has, as far as its header block tells; nothing when it doesn't.
    [[nodiscard]] std::optional<std::uint64_t> announcedLength() const;
    /// Whether the peer has sent just what it announced, so that no more is to be expected from it. False when it has
    /// announced nothing.
    [[nodiscard]] bool isExhausted() const;

    /// Ends the header block.
    static constexpr std::string_view separator { "\r\n\r\n" };

private:
    void checkUtf8(std::string_view buffer);
    void findHeaderEnd(std::string_view buffer);
    void readHeaders(std::string_view headers);
    [[nodiscard]] std::size_t bodyLength() const { return m_length - bodyOffset(); }

    std::size_t m_length { 0 };
    std::size_t m_validLength { 0 }; ///< So many bytes are whole UTF-8 sequences.
    bool m_malformed { false };
    bool m_isGet { false };
    bool m_waitsForBody { false }; ///< The content length is one that delays the request.
    std::optional<std::size_t> m_headerLength;
    std::optional<std::int64_t> m_contentLength;
};

/// The text as a signed 64-bit integer: an optional sign and ASCII digits, nothing else.
[[nodiscard]] std::optional<std::int64_t> strictInteger(std::string_view text);

} // namespace vantry
