#pragma once

#include "base/FileDescriptor.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

namespace vantry {

// Small files, read and replaced as a whole. Any thread; the caller waits for the disk. Paths are in the system's
// encoding.

struct FileContent
{
    std::optional<std::string> bytes; ///< Nothing when the file can't be read.
    int error { 0 };                  ///< Then why, as an errno; ENOENT for a missing file.
};

/// Reads a regular file, through symbolic links. Never waits for anybody: a FIFO, a device or a folder at the path is
/// EINVAL.
[[nodiscard]] FileContent readRegularFile(const std::string &path);

/// Replaces a file in one step: what is written goes into a new file beside it, which takes its place on commit().
/// Where the path is a symbolic link, its target is replaced and the link stays. Without a commit nothing has happened.
class FileReplacement
{
public:
    /// Makes the new file, with this mode.
    FileReplacement(const std::string &path, mode_t mode);
    ~FileReplacement();
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;

    void write(std::string_view bytes);
    /// Has the disk hold what was written before the file takes its place, so that a loss of power leaves the old file
    /// or the new one.
    void sync();
    /// False when this or any step before failed; error() says why.
    [[nodiscard]] bool commit();
    [[nodiscard]] int error() const { return m_error; }

    /// The file that is replaced: the path, with symbolic links followed, dangling ones, too.
    [[nodiscard]] const std::string &target() const { return m_target; }

private:
    void failed();

    std::string m_target;
    std::string m_temporary;
    FileDescriptor m_file;
    int m_error { 0 };
};

} // namespace vantry
