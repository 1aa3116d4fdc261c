#include "transcripts/TranscriptFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace vantry {

std::optional<TranscriptFile> TranscriptFile::open(const QString &path)
{
    FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status
    {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return TranscriptFile(std::move(file));
}

TranscriptFile::State TranscriptFile::state() const
{
    struct stat status
    {};
    if (::fstat(m_file.get(), &status) != 0)
        return {};
    return { .device = status.st_dev,
             .inode = status.st_ino,
             .size = static_cast<std::uint64_t>(status.st_size),
             .modifiedSeconds = status.st_mtim.tv_sec,
             .modifiedNanoseconds = status.st_mtim.tv_nsec };
}

std::uint64_t TranscriptFile::size() const
{
    return state().size;
}

std::optional<std::string> TranscriptFile::read(std::uint64_t offset, std::size_t length) const
{
    std::string bytes(length, '\0');
    const auto filled = read(offset, std::span(bytes));
    if (!filled)
        return std::nullopt;
    bytes.resize(*filled);
    return bytes;
}

std::optional<std::size_t> TranscriptFile::read(std::uint64_t offset, std::span<char> out) const
{
    std::size_t filled = 0;
    while (filled < out.size()) {
        const ssize_t count =
            ::pread(m_file.get(), out.data() + filled, out.size() - filled, static_cast<off_t>(offset + filled));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

} // namespace vantry
