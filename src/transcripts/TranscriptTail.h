#pragma once

#include "transcripts/TranscriptFile.h"

#include <cstddef>
#include <optional>
#include <string>

namespace vantry {

/// In bytes.
inline constexpr std::size_t transcriptTailLength = 32 * 1024;
inline constexpr std::size_t longestTranscriptTail = 512 * 1024;

/// The last transcriptTailLength bytes of a transcript, or all of a shorter one; the cut may fall anywhere, even within
/// a character. But where it falls into a line that is itself longer than that, the tail goes back over this line, and
/// begins with a line behind the cut that many bytes before it; this again and again, up to longestTranscriptTail in
/// all. A line that begins still farther back is not stepped over. Nothing when reading fails. Any thread.
[[nodiscard]] std::optional<std::string> readTranscriptTail(const TranscriptFile &file);

} // namespace vantry
