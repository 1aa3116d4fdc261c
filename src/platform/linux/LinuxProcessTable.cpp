#include "platform/linux/LinuxProcessTable.h"

#include "base/Paths.h"

#include <QFile>
#include <QSaveFile>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <limits>

namespace vantry {

namespace {

class Descriptor
{
public:
    explicit Descriptor(int number)
        : m_number(number)
    {}
    ~Descriptor()
    {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    [[nodiscard]] int number() const { return m_number; }

private:
    int m_number;
};

/// A small regular file's bytes (what is beyond 64 KB is left out), read without blocking.
std::optional<std::string> readSmallFile(const char *path)
{
    const Descriptor file(::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (file.number() < 0 || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    std::string text(65536, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t count = ::read(file.number(), text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    text.resize(size);
    return text;
}

std::optional<ProcessStat> readStat(std::int64_t pid)
{
    if (pid < 1 || pid > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    std::array<char, 2048> text; // All fields at their longest take less.
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t size = file.number() < 0 ? -1 : ::read(file.number(), text.data(), text.size());
    if (size <= 0)
        return std::nullopt;
    auto stat = ProcessStat::parse({ text.data(), static_cast<std::size_t>(size) });
    return stat && stat->isGone() ? std::nullopt : stat;
}

/// The next field up to a blank; takes it off the front.
std::string_view takeField(std::string_view &text)
{
    const std::string_view field = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(text.size(), field.size() + 1));
    return field;
}

template <typename Number>
std::optional<Number> toNumber(std::string_view text)
{
    Number number {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// By number: the C library of Debian 12 declares these two without C linkage.

int pidfdOpen(pid_t pid)
{
    return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U));
}

int pidfdSendSignal(int process, int signal)
{
    return static_cast<int>(::syscall(SYS_pidfd_send_signal, process, signal, nullptr, 0U));
}

/// Whether a process descriptor can't be had or used for a reason that says nothing about the process: an old kernel, a
/// sandbox, no descriptors left. Then plain kill() has to do.
bool canDoWithoutDescriptor(int error)
{
    return error == ENOSYS || error == EPERM || error == EMFILE || error == ENFILE;
}

std::optional<double> bootTimeOfKernel()
{
    const auto text = readSmallFile("/proc/stat");
    const std::size_t begin = text ? text->find("\nbtime ") : std::string::npos;
    if (begin == std::string::npos)
        return std::nullopt;
    const std::string_view rest = std::string_view(*text).substr(begin + 7);
    const auto seconds = toNumber<std::int64_t>(rest.substr(0, rest.find('\n')));
    return seconds ? std::optional(static_cast<double>(*seconds)) : std::nullopt;
}

/// The boot time that was kept for this boot: "<boot id> <seconds>\n".
std::optional<double> keptBootTime(const QString &path, std::string_view bootId)
{
    const auto text = readSmallFile(QFile::encodeName(path).constData());
    if (!text || !text->ends_with('\n'))
        return std::nullopt;
    std::string_view rest = std::string_view(*text).substr(0, text->size() - 1);
    if (takeField(rest) != bootId)
        return std::nullopt;
    const auto seconds = toNumber<std::int64_t>(rest);
    return seconds ? std::optional(static_cast<double>(*seconds)) : std::nullopt;
}

void keepBootTime(const QString &folder, const QString &path, const std::string &bootId, double seconds)
{
    if (!makePrivateFolder(folder))
        return;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const std::string text = bootId + ' ' + std::to_string(std::llround(seconds)) + '\n';
    if (file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size()))
        file.commit();
}

std::optional<double> bootTime(const QString &dataFolder)
{
    const auto bootIdLine = readSmallFile("/proc/sys/kernel/random/boot_id");
    if (!bootIdLine)
        return bootTimeOfKernel();
    const std::string bootId = bootIdLine->substr(0, bootIdLine->find('\n'));
    const QString path = dataFolder + QStringLiteral("/boot-time");
    if (const auto kept = keptBootTime(path, bootId))
        return kept;
    const auto seconds = bootTimeOfKernel();
    if (seconds)
        keepBootTime(dataFolder, path, bootId, *seconds);
    return seconds;
}

} // namespace

std::optional<ProcessStat> ProcessStat::parse(std::string_view text)
{
    // "pid (command) state ppid ..."; the command may hold blanks, brackets and line feeds.
    const std::size_t begin = text.find('(');
    const std::size_t end = text.rfind(')');
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin)
        return std::nullopt;
    ProcessStat stat;
    stat.command = text.substr(begin + 1, end - begin - 1);

    constexpr int firstFieldBehind = 3; // Counted from 1, as in proc(5).
    constexpr int stateField = 3;
    constexpr int parentField = 4;
    constexpr int startTimeField = 22;
    std::string_view rest = text.substr(end + 1);
    takeField(rest); // The empty one in front of the blank.
    for (int index = firstFieldBehind; index <= startTimeField; ++index) {
        const std::string_view field = takeField(rest);
        if (field.empty())
            return std::nullopt;
        if (index == stateField) {
            stat.state = field.front();
        } else if (index == parentField) {
            const auto parent = toNumber<std::int64_t>(field);
            if (!parent)
                return std::nullopt;
            stat.parent = *parent;
        } else if (index == startTimeField) {
            const auto ticks = toNumber<std::uint64_t>(field);
            // The last field of a line that was cut may be cut itself.
            if (!ticks || rest.empty())
                return std::nullopt;
            stat.startTicks = *ticks;
        }
    }
    return stat;
}

LinuxProcessTable::LinuxProcessTable()
    : LinuxProcessTable(bootTimeOfKernel())
{}

LinuxProcessTable::LinuxProcessTable(const QString &dataFolder)
    : LinuxProcessTable(bootTime(dataFolder))
{}

LinuxProcessTable::LinuxProcessTable(std::optional<double> boot)
    : m_bootTime(boot)
    , m_ticksPerSecond(static_cast<double>(::sysconf(_SC_CLK_TCK)))
{}

std::optional<double> LinuxProcessTable::startTime(std::int64_t pid) const
{
    const auto stat = readStat(pid);
    if (!stat || !m_bootTime)
        return std::nullopt;
    return *m_bootTime + static_cast<double>(stat->startTicks) / m_ticksPerSecond;
}

std::optional<std::int64_t> LinuxProcessTable::parent(std::int64_t pid) const
{
    const auto stat = readStat(pid);
    return stat ? std::optional(stat->parent) : std::nullopt;
}

std::optional<QString> LinuxProcessTable::commandName(std::int64_t pid) const
{
    const auto stat = readStat(pid);
    return stat ? std::optional(QString::fromStdString(stat->command)) : std::nullopt;
}

bool LinuxProcessTable::isStill(std::int64_t pid, double startTime) const
{
    const auto current = this->startTime(pid);
    return current && std::abs(*current - startTime) < 1.0;
}

ProcessTable::Signalled LinuxProcessTable::terminate(std::int64_t pid, double startTime)
{
    if (pid <= 1 || pid > std::numeric_limits<std::int32_t>::max())
        return Signalled::NoSuchProcess;
    const auto id = static_cast<pid_t>(pid);
    // The descriptor is opened first: it stays with its process, so what is found out then holds when the signal is
    // sent.
    const Descriptor process(pidfdOpen(id));
    if (process.number() < 0 && !canDoWithoutDescriptor(errno))
        return Signalled::NoSuchProcess;
    if (!isStill(pid, startTime))
        return Signalled::NoSuchProcess;
    int result = process.number() < 0 ? -1 : pidfdSendSignal(process.number(), SIGTERM);
    if (process.number() < 0 || (result != 0 && canDoWithoutDescriptor(errno)))
        result = ::kill(id, SIGTERM);
    if (result == 0)
        return Signalled::Yes;
    return errno == EPERM ? Signalled::Refused : Signalled::NoSuchProcess;
}

} // namespace vantry
