#include "base/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <vector>

namespace vantry {
namespace {

/// Follows symbolic links at the path's end, as far as the kernel would.
std::string withoutLinks(std::string path)
{
    constexpr int mostLinks = 40;
    for (int i = 0; i < mostLinks; ++i) {
        std::vector<char> buffer(PATH_MAX);
        const ssize_t length = readlink(path.c_str(), buffer.data(), buffer.size());
        if (length <= 0)
            break;
        const std::string_view next(buffer.data(), static_cast<std::size_t>(length));
        if (next.starts_with('/'))
            path = next;
        else
            path.replace(path.rfind('/') + 1, std::string::npos, next);
    }
    return path;
}

} // namespace

FileContent readRegularFile(const std::string &path)
{
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status
    {};
    if (!file || fstat(file.get(), &status) != 0)
        return { std::nullopt, errno };
    if (!S_ISREG(status.st_mode))
        return { std::nullopt, EINVAL };
    std::string bytes(static_cast<std::size_t>(status.st_size) + 1, '\0');
    std::size_t size = 0;
    for (;;) {
        const ssize_t got = read(file.get(), bytes.data() + size, bytes.size() - size);
        if (got < 0)
            return { std::nullopt, errno };
        if (got == 0)
            break;
        size += static_cast<std::size_t>(got);
        if (size == bytes.size())
            bytes.resize(2 * size);
    }
    bytes.resize(size);
    return { std::move(bytes), 0 };
}

FileReplacement::FileReplacement(const std::string &path, mode_t mode)
    : m_target(withoutLinks(path))
    , m_temporary(m_target + ".XXXXXX")
{
    m_file = FileDescriptor(mkostemp(m_temporary.data(), O_CLOEXEC));
    if (!m_file) {
        failed();
        m_temporary.clear();
    } else if (fchmod(m_file.get(), mode) != 0) {
        failed();
    }
}

FileReplacement::~FileReplacement()
{
    if (!m_temporary.empty())
        unlink(m_temporary.c_str());
}

void FileReplacement::write(std::string_view bytes)
{
    while (m_error == 0 && !bytes.empty()) {
        const ssize_t put = ::write(m_file.get(), bytes.data(), bytes.size());
        if (put >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(put));
        else if (errno != EINTR)
            failed();
    }
}

void FileReplacement::sync()
{
    if (m_error == 0 && fdatasync(m_file.get()) != 0)
        failed();
}

bool FileReplacement::commit()
{
    if (m_error == 0 && rename(m_temporary.c_str(), m_target.c_str()) != 0)
        failed();
    if (m_error != 0)
        return false;
    m_temporary.clear();
    return true;
}

void FileReplacement::failed()
{
    if (m_error == 0)
        m_error = errno;
}

} // namespace vantry
