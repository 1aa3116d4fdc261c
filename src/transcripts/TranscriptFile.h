#pragma once

#include "base/FileDescriptor.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vantry {

/// A file that an agent writes, open for reading. Any thread, one at a time.
class TranscriptFile
{
public:
    /// Nothing unless the path names a regular file that may be read. Never waits: not for the writer of a FIFO, not
    /// for a device.
    [[nodiscard]] static std::optional<TranscriptFile> open(const QString &path);

    /// Which file it is, and what tells that it has changed.
    struct State
    {
        std::uint64_t device { 0 };
        std::uint64_t inode { 0 };
        std::uint64_t size { 0 };           ///< In bytes.
        std::int64_t modifiedSeconds { 0 }; ///< Since 1970, with
        long modifiedNanoseconds { 0 };     ///< these on top.

        [[nodiscard]] bool isSameFile(const State &other) const
        {
            return device == other.device && inode == other.inode;
        }
        friend bool operator==(const State &, const State &) = default;
    };

    [[nodiscard]] State state() const;
    /// In bytes, at this moment: the agent may be writing.
    [[nodiscard]] std::uint64_t size() const;
    /// What stands there, less than `length` only at the file's end; nothing when reading fails.
    [[nodiscard]] std::optional<std::string> read(std::uint64_t offset, std::size_t length) const;
    /// The same into memory of the caller's: how many bytes were read.
    [[nodiscard]] std::optional<std::size_t> read(std::uint64_t offset, std::span<char> out) const;

private:
    explicit TranscriptFile(FileDescriptor file)
        : m_file(std::move(file))
    {}

    FileDescriptor m_file;
};

} // namespace vantry
