#pragma once

#include "transcripts/TranscriptBuffer.h"
#include "transcripts/TranscriptFile.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace vantry {

/// The lines of a transcript, one after the other, read in blocks into memory that doesn't grow with the file. Any
/// thread, one at a time. The file may grow, shrink or change meanwhile: what was there at the time of reading counts.
class TranscriptLines
{
public:
    /// In bytes. A longer line is passed over: no agent's turn fills one, and it would have to be held whole.
    static constexpr std::size_t maximumLineLength = std::size_t { 16 } << 20;

    struct Line
    {
        std::uint64_t offset;  ///< Of its first byte in the file.
        std::string_view text; ///< Valid UTF-8 without the line feed. Valid until the next call of next().
        /// Whether a line feed follows. The last piece of a file may have none: then it counts only when it parses in
        /// full, since the agent may still be writing it.
        bool isTerminated;
    };

    /// `offset` is where a line begins. At `end`, which is where another one does, it stops as at the file's end. The
    /// file and the buffer, which nobody else uses meanwhile, must outlive this.
    TranscriptLines(const TranscriptFile &file, TranscriptBuffer &buffer, std::uint64_t offset = 0,
                    std::uint64_t end = std::numeric_limits<std::uint64_t>::max());
    ~TranscriptLines() { m_buffer.releaseLong(); }
    TranscriptLines(const TranscriptLines &) = delete;
    TranscriptLines &operator=(const TranscriptLines &) = delete;

    /// The next line, empty ones included; nothing at the end, and nothing any more once hasFailed().
    [[nodiscard]] std::optional<Line> next();
    /// Whether reading failed or a line was not UTF-8: then no line of the file counts. A piece without line feed at
    /// the file's end may be cut off within a character, and is left out without being a failure.
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }
    /// Behind the last line feed that was passed: where reading goes on when the file has grown.
    [[nodiscard]] std::uint64_t endOfTerminated() const { return m_endOfTerminated; }

private:
    void reserve(std::size_t capacity);
    /// Reads on behind what is buffered, which begins with the line that is wanted. False at the end of the file.
    bool fill();
    std::optional<Line> take(std::size_t length, bool isTerminated);
    void passOverLongLine();

    /// Of the file, into the buffer; how much of a block was read, nothing when reading failed.
    [[nodiscard]] std::optional<std::size_t> readBlock(std::uint64_t offset, std::size_t at, std::size_t length);

    const TranscriptFile &m_file;
    const std::uint64_t m_end;
    TranscriptBuffer &m_buffer;
    std::uint64_t m_bufferOffset; ///< Of the buffer's first byte in the file.
    std::size_t m_begin { 0 };    ///< Where the next line begins in the buffer.
    std::size_t m_scanned { 0 };  ///< Up to here it holds no line feed.
    std::size_t m_filled { 0 };
    std::uint64_t m_endOfTerminated;
    bool m_isAtEnd { false };
    bool m_hasFailed { false };
};

} // namespace vantry
