#include "transcripts/TranscriptLines.h"

#include <simdjson.h>

#include <algorithm>
#include <cstring>

namespace vantry {
namespace {

/// How much is read at once: small enough for the processor's cache, so that a line is still there when it is parsed.
constexpr std::size_t blockSize = std::size_t { 128 } << 10;
/// Room for ordinary long lines.
constexpr std::size_t ordinaryCapacity = TranscriptBuffer::ordinaryCapacity;
constexpr std::size_t longestCapacity = TranscriptLines::maximumLineLength + blockSize;

bool isUtf8(std::string_view text)
{
    return simdjson::validate_utf8(text.data(), text.size());
}

/// How many bytes at the end begin a character that goes on behind it.
std::size_t unfinishedCharacter(std::string_view text)
{
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        const bool continues = (byte & 0xC0) == 0x80;
        if (continues)
            continue;
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        return length > back ? back : 0;
    }
    return 0;
}

} // namespace

TranscriptLines::TranscriptLines(const TranscriptFile &file, TranscriptBuffer &buffer, std::uint64_t offset,
                                 std::uint64_t end)
    : m_file(file)
    , m_end(end)
    , m_buffer(buffer)
    , m_bufferOffset(offset)
    , m_endOfTerminated(offset)
{}

std::optional<TranscriptLines::Line> TranscriptLines::next()
{
    while (!m_hasFailed && !m_isAtEnd) {
        const std::string_view unseen(m_buffer.get() + m_scanned, m_filled - m_scanned);
        const std::size_t feed = unseen.find('\n');
        const std::size_t length = m_scanned + std::min(feed, unseen.size()) - m_begin;
        m_scanned = m_begin + length;
        if (length > maximumLineLength)
            passOverLongLine();
        else if (feed != std::string_view::npos)
            return take(length, true);
        else if (!fill())
            break;
    }
    if (m_hasFailed || m_begin == m_filled)
        return std::nullopt;
    m_isAtEnd = true;
    return take(m_filled - m_begin, false);
}

std::optional<TranscriptLines::Line> TranscriptLines::take(std::size_t length, bool isTerminated)
{
    const Line line { m_bufferOffset + m_begin, { m_buffer.get() + m_begin, length }, isTerminated };
    m_begin += length + (isTerminated ? 1 : 0);
    m_scanned = m_begin;
    if (isTerminated)
        m_endOfTerminated = m_bufferOffset + m_begin;
    if (isUtf8(line.text))
        return line;
    m_hasFailed = isTerminated;
    return std::nullopt;
}

void TranscriptLines::reserve(std::size_t capacity)
{
    if (capacity == m_buffer.capacity())
        return;
    // What is buffered is read again.
    m_bufferOffset += m_begin;
    m_begin = m_scanned = m_filled = 0;
    m_buffer.reserve(capacity);
}

std::optional<std::size_t> TranscriptLines::readBlock(std::uint64_t offset, std::size_t at, std::size_t length)
{
    const auto left = static_cast<std::size_t>(std::min<std::uint64_t>(length, m_end - std::min(m_end, offset)));
    return m_file.read(offset, { m_buffer.get() + at, left });
}

bool TranscriptLines::fill()
{
    const std::size_t kept = m_filled - m_begin;
    const std::size_t capacity = m_buffer.capacity();
    if (kept + blockSize > capacity)
        reserve(std::clamp(2 * capacity, ordinaryCapacity, longestCapacity));
    else if (capacity > ordinaryCapacity && kept < blockSize)
        reserve(ordinaryCapacity);
    if (m_begin > 0) {
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, m_filled - m_begin);
        m_bufferOffset += m_begin;
        m_scanned -= m_begin;
        m_filled -= m_begin;
        m_begin = 0;
    }
    const std::size_t wanted = kept + blockSize - m_filled;
    const auto count = readBlock(m_bufferOffset + m_filled, m_filled, wanted);
    m_hasFailed = !count;
    m_filled += count.value_or(0);
    return count.value_or(0) > 0;
}

void TranscriptLines::passOverLongLine()
{
    std::uint64_t offset = m_bufferOffset + m_begin;
    m_begin = m_filled;
    reserve(ordinaryCapacity);
    bool isSound = true;
    for (std::size_t kept = 0;;) {
        const auto count = readBlock(offset + kept, kept, blockSize);
        if (!count) {
            m_hasFailed = true;
            return;
        }
        const std::string_view block(m_buffer.get(), kept + *count);
        const std::size_t feed = block.find('\n');
        const std::size_t length = std::min(feed, block.size());
        kept = feed == std::string_view::npos ? unfinishedCharacter(block) : 0;
        isSound = isSound && isUtf8(block.substr(0, length - kept));
        offset += length - kept;
        if (feed != std::string_view::npos) {
            m_endOfTerminated = m_bufferOffset = offset + 1;
            m_begin = m_scanned = m_filled = 0;
            m_hasFailed = !isSound;
            return;
        }
        if (*count == 0) {
            m_isAtEnd = true;
            m_begin = m_filled;
            return;
        }
        std::memmove(m_buffer.get(), block.data() + length - kept, kept);
    }
}

} // namespace vantry
