#pragma once

#include "transcripts/TranscriptFile.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

namespace vantry {

/// In bytes.
inline constexpr std::size_t transcriptTailLength = 32 * 1024;
inline constexpr std::size_t longestTranscriptTail = 512 * 1024;

/// Reads the tails of transcripts. Owns the memory, which is taken when it is needed and then kept. Any thread, one at
/// a time.
class TranscriptTail
{
public:
    /// The last transcriptTailLength bytes of a transcript, or all of a shorter one; the cut may fall anywhere, even
    /// within a character. But where it falls into a line that is itself longer than that, the tail goes back over this
    /// line, and begins with a line behind the cut that many bytes before it; this again and again, up to
    /// longestTranscriptTail in all. A line that begins still farther back is not stepped over.
    ///
    /// Nothing when reading fails. Valid until the next call.
    [[nodiscard]] std::optional<std::string_view> read(const TranscriptFile &file);

private:
    // Places in the file are told by how far they are from its end.

    /// Reads as far back as that. False when reading fails, also where the file has become shorter meanwhile.
    bool load(std::size_t distance);
    [[nodiscard]] const char *at(std::size_t distance) const
    {
        return m_buffer.get() + longestTranscriptTail - distance;
    }
    /// Where the tail begins; nothing when reading fails.
    [[nodiscard]] std::optional<std::size_t> findBegin();
    /// Where the line begins that holds this place, or ends there; m_reach when it begins no nearer.
    [[nodiscard]] std::optional<std::size_t> beginOfLine(std::size_t distance);
    [[nodiscard]] std::size_t endOfLine(std::size_t distance) const;

    std::unique_ptr<char[]> m_buffer; ///< Its end is the file's, as far as it has been read.
    const TranscriptFile *m_file { nullptr };
    std::uint64_t m_size { 0 };
    std::size_t m_loaded { 0 };
    std::size_t m_reach { 0 }; ///< As far back as may be read.
};

} // namespace vantry
