#include "base/DebugLog.h"

#include "base/Dates.h"
#include "base/LogTrim.h"
#include "base/Paths.h"
#include "base/Text.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantry {
namespace {

constexpr std::size_t keptPieces = 5000;

} // namespace

DebugLog::DebugLog(QString path, const Clock &clock)
    : m_path(std::move(path))
    , m_nativePath(QFile::encodeName(m_path).toStdString())
    , m_clock(clock)
    // Holds the number until the first line opens the file.
    , m_descriptor(open("/dev/null", O_WRONLY | O_CLOEXEC))
{}

DebugLog::~DebugLog()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

void DebugLog::Writer::write(std::string_view message)
{
    m_file.append(m_form, message);
}

void DebugLog::append(DateForm form, std::string_view message)
{
    // The first line of a run, written before any other thread is there whose lines a trim could lose.
    if (form == DateForm::Delegate && !m_delegateHasWritten.test_and_set())
        trimToLastPieces(m_nativePath, keptPieces);
    const Date now = m_clock.now();
    if (!ensureOpen(now))
        return;
    std::string line = "[";
    line.reserve(message.size() + 32);
    line += form == DateForm::General ? isoSeconds(now) : plainSeconds(now);
    line += "] ";
    line += escapeControlCharacters(message);
    line += '\n';
    // A failed or short write is ignored, as every failure here: there is no place where it could be told.
    static_cast<void>(!::write(m_descriptor, line.data(), line.size()));
}

bool DebugLog::ensureOpen(Date now)
{
    // A file that was deleted, or replaced by another, has no name any more; asking the descriptor for that costs half
    // of looking at the path. One that was moved still takes its lines, so once in a second is enough for that. Not
    // fstat(): it reads the times, and the kernel then gives the next write a fine new one, which costs more than it.
    const std::int64_t second = std::chrono::floor<std::chrono::seconds>(now).time_since_epoch().count();
    struct statx ours
    {};
    if (statx(m_descriptor, "", AT_EMPTY_PATH, STATX_NLINK, &ours) == 0 && ours.stx_nlink > 0) {
        if (m_checkedSecond.load(std::memory_order_acquire) == second)
            return true;
    }
    // Noted only once the right file stands behind the descriptor: other threads go by it.
    if (!isAtPath() && !reopen())
        return false;
    m_checkedSecond.store(second, std::memory_order_release);
    return true;
}

bool DebugLog::isAtPath() const
{
    // As long as we hold our file open, no other gets its inode number.
    struct stat atPath
    {};
    struct stat ours
    {};
    return stat(m_nativePath.c_str(), &atPath) == 0 && fstat(m_descriptor, &ours) == 0 &&
           atPath.st_dev == ours.st_dev && atPath.st_ino == ours.st_ino;
}

bool DebugLog::reopen()
{
    // Not blocking and only on a regular file: a FIFO at the path must not hold the program up.
    const auto openFile = [this] {
        return open(m_nativePath.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
    };
    int descriptor = openFile();
    if (descriptor < 0 && errno == ENOENT && makePrivateFolder(QFileInfo(m_path).path()))
        descriptor = openFile();
    if (descriptor < 0)
        return false;
    struct stat status
    {};
    const bool isUsable = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                          dup3(descriptor, m_descriptor, O_CLOEXEC) == m_descriptor;
    if (isUsable && (status.st_mode & 0777) != 0600)
        fchmod(descriptor, 0600);
    close(descriptor);
    return isUsable;
}

} // namespace vantry
