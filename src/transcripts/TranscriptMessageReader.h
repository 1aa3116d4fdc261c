#pragma once

#include "transcripts/TranscriptBuffer.h"
#include "transcripts/TranscriptFile.h"
#include "transcripts/TranscriptMessage.h"

#include <QString>

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace vantry {

/// Reads the last messages of a transcript, and remembers how far it has read: read again, a transcript that has grown
/// costs what was added. Keeps the memory that it reads into, a megabyte or two. Any thread, one at a time; the caller
/// waits for the disk.
class TranscriptMessageReader
{
public:
    /// What one thread takes at least, in bytes: a long file is read by two.
    static constexpr std::uint64_t smallestShare = std::uint64_t { 2 } << 20;

    /// `limit` is how many messages are given at most; below 1 none are.
    TranscriptMessageReader(QString path, qsizetype limit, std::uint64_t share = smallestShare);

    /// The transcript's last messages as it is now, in its order. Empty when it can't be read or isn't UTF-8.
    [[nodiscard]] std::vector<TranscriptMessage> read();

private:
    /// How far a file has been read, and what came out.
    struct Progress
    {
        TranscriptFile::State state;               ///< Of the file when it was read last.
        std::string front;                         ///< A piece at the file's front.
        std::string back;                          ///< A piece that ends at `end`.
        std::uint64_t end { 0 };                   ///< Behind the last line feed.
        std::int64_t count { 0 };                  ///< Messages up to `end`.
        std::deque<TranscriptMessage> messages;    ///< The last ones up to `end`.
        std::vector<TranscriptMessage> unfinished; ///< From the piece behind `end`.
    };

    /// A line that gives messages.
    struct Place
    {
        std::uint64_t offset;
        std::size_t length;    ///< In bytes, without the line feed.
        std::int64_t before;   ///< Messages before the line.
        std::int64_t messages; ///< That it gives.
    };

    /// The last lines of a piece of the file that give messages, as many as `limit` needs.
    struct Piece
    {
        std::deque<Place> last;
        std::int64_t messages { 0 };     ///< Of `last`.
        std::int64_t count { 0 };        ///< Of the whole piece.
        std::optional<Place> unfinished; ///< Behind the last line feed, if that gives any.
        std::uint64_t end { 0 };         ///< Behind the last line feed.
        bool hasFailed { false };

        void add(const Place &place, std::int64_t limit);
    };

    /// Whether the file still begins with all that has been read of it.
    [[nodiscard]] static bool goesOn(const Progress &progress, const TranscriptFile &file,
                                     const TranscriptFile::State &state);
    /// Takes what stands behind what has been read. False when the file can't be read or isn't UTF-8.
    bool readOn(Progress &progress, const TranscriptFile &file);
    /// Where the second of two threads begins with what stands behind `begin`; nothing when that is for one thread.
    [[nodiscard]] std::optional<std::uint64_t> middle(std::uint64_t begin, const Progress &progress,
                                                      const TranscriptFile &file) const;
    /// From `begin` to `end`, both where a line begins. Messages are counted from `before`.
    [[nodiscard]] Piece readPiece(const TranscriptFile &file, TranscriptBuffer &buffer, std::uint64_t begin,
                                  std::uint64_t end, std::int64_t before) const;
    /// The messages of a line. What comes before the last ones has only been counted: texts are made for few. Nothing
    /// when the line isn't what it was. The buffer may be left with what a long line needed.
    [[nodiscard]] static std::optional<std::vector<TranscriptMessage>>
    make(const Place &place, bool isTerminated, const TranscriptFile &file, TranscriptBuffer &buffer);
    [[nodiscard]] std::vector<TranscriptMessage> result() const;

    QString m_path;
    std::size_t m_limit;
    std::uint64_t m_share;
    std::optional<Progress> m_progress;
    std::array<TranscriptBuffer, 2> m_buffers; ///< One for each thread.
};

/// The last `limit` messages of the transcript at the path, once.
[[nodiscard]] std::vector<TranscriptMessage> parseMessages(const QString &path, qsizetype limit);

} // namespace vantry
