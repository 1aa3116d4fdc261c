#include "base/LogTrim.h"

#include "base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace vantry {
namespace {

constexpr off_t blockSize = 64 * 1024;

/// Reads exactly so many bytes; false when the file has become shorter or can't be read.
bool readAt(int file, off_t position, char *into, std::size_t size)
{
    while (size > 0) {
        const ssize_t got = pread(file, into, size, position);
        if (got <= 0)
            return false;
        into += got;
        position += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

/// Where the last pieces begin; nothing when there are no more than these. Looks from the end, so a log of any size
/// costs no more than what is kept.
std::optional<off_t> startOfLastPieces(int file, off_t size, std::size_t pieces)
{
    std::vector<char> block(blockSize);
    std::size_t lineFeeds = 0;
    for (off_t end = size; end > 0;) {
        const off_t begin = std::max<off_t>(end - blockSize, 0);
        auto length = static_cast<std::size_t>(end - begin);
        if (!readAt(file, begin, block.data(), length))
            return std::nullopt;
        while (const void *found = memrchr(block.data(), '\n', length)) {
            length = static_cast<std::size_t>(static_cast<const char *>(found) - block.data());
            if (++lineFeeds == pieces)
                return begin + static_cast<off_t>(length) + 1;
        }
        end = begin;
    }
    return std::nullopt;
}

bool copyRange(int from, off_t begin, off_t end, FileReplacement &to)
{
    std::vector<char> block(blockSize);
    while (begin < end) {
        const auto length = static_cast<std::size_t>(std::min(end - begin, blockSize));
        if (!readAt(from, begin, block.data(), length))
            return false;
        to.write({ block.data(), length });
        begin += static_cast<off_t>(length);
    }
    return true;
}

} // namespace

void trimToLastPieces(const std::string &path, std::size_t pieces)
{
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status
    {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return;
    const auto begin = startOfLastPieces(file.get(), status.st_size, pieces);
    if (!begin)
        return;
    FileReplacement replacement(path, 0600);
    if (copyRange(file.get(), *begin, status.st_size, replacement))
        static_cast<void>(replacement.commit());
}

} // namespace vantry
