#include "transcripts/TranscriptTail.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace vantry {

std::optional<std::string_view> TranscriptTail::read(const TranscriptFile &file)
{
    // Left unset: memory that nobody touches costs nothing.
    if (!m_buffer)
        m_buffer = std::make_unique_for_overwrite<char[]>(longestTranscriptTail);
    m_file = &file;
    m_size = file.size();
    m_loaded = 0;
    m_reach = static_cast<std::size_t>(std::min<std::uint64_t>(m_size, longestTranscriptTail));
    const std::optional<std::size_t> begin = findBegin();
    m_file = nullptr;
    return begin ? std::optional(std::string_view(at(*begin), *begin)) : std::nullopt;
}

std::optional<std::size_t> TranscriptTail::findBegin()
{
    std::size_t begin = std::min(m_reach, transcriptTailLength);
    bool hasSteppedBack = false;
    for (;;) {
        if (!load(begin))
            return std::nullopt;
        if (begin == m_size)
            return begin;
        const std::optional<std::size_t> lineBegin = beginOfLine(begin);
        if (!lineBegin)
            return std::nullopt;
        const std::size_t lineEnd = endOfLine(begin);
        const bool beginsTooFar = *lineBegin == m_reach && m_reach < m_size;
        if (beginsTooFar || *lineBegin - lineEnd <= transcriptTailLength) {
            const bool isCut = beginsTooFar || *lineBegin > begin;
            return hasSteppedBack && isCut ? lineEnd - 1 : begin;
        }
        begin = std::min(*lineBegin + transcriptTailLength, m_reach);
        hasSteppedBack = true;
    }
}

bool TranscriptTail::load(std::size_t distance)
{
    if (distance <= m_loaded)
        return true;
    const std::span<char> missing(m_buffer.get() + longestTranscriptTail - distance, distance - m_loaded);
    const std::optional<std::size_t> count = m_file->read(m_size - distance, missing);
    m_loaded = distance;
    return count == missing.size();
}

std::optional<std::size_t> TranscriptTail::beginOfLine(std::size_t distance)
{
    while (distance < m_reach) {
        const std::size_t searched = std::min(distance + transcriptTailLength, m_reach);
        if (!load(searched))
            return std::nullopt;
        if (const void *feed = ::memrchr(at(searched), '\n', searched - distance))
            return static_cast<std::size_t>(at(0) - static_cast<const char *>(feed)) - 1;
        distance = searched;
    }
    return m_reach;
}

std::size_t TranscriptTail::endOfLine(std::size_t distance) const
{
    const void *feed = std::memchr(at(distance), '\n', distance);
    return feed ? static_cast<std::size_t>(at(0) - static_cast<const char *>(feed)) : 0;
}

} // namespace vantry
