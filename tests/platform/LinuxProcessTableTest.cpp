#include "platform/linux/LinuxProcessTable.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>

namespace vantry::test {

namespace {

/// A child of the test that waits until it is killed, or does what it is told first. Never runs the test's own ends.
class Child
{
public:
    explicit Child(const std::function<void()> &first = [] {})
    {
        std::array<int, 2> ready {};
        EXPECT_EQ(::pipe(ready.data()), 0);
        m_pid = ::fork();
        if (m_pid == 0) {
            ::close(ready[0]);
            first();
            if (::write(ready[1], "", 1) != 1)
                ::_exit(1);
            for (;;)
                ::pause();
        }
        ::close(ready[1]);
        char byte = 0;
        [[maybe_unused]] const ssize_t count = ::read(ready[0], &byte, 1); // Nothing when the child has ended already.
        ::close(ready[0]);
    }
    ~Child()
    {
        if (m_pid <= 0)
            return;
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    [[nodiscard]] pid_t pid() const { return m_pid; }
    /// Waits until the child has ended, but leaves it a zombie.
    void waitUntilZombie() const
    {
        siginfo_t information {};
        ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(m_pid), &information, WEXITED | WNOWAIT), 0);
    }
    /// Waits for its end and gives the signal that ended it, 0 for none.
    int endingSignal()
    {
        int status = 0;
        EXPECT_EQ(::waitpid(std::exchange(m_pid, -1), &status, 0) > 0, true);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

private:
    pid_t m_pid { -1 };
};

QByteArray bootId()
{
    QFile file(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll().trimmed();
}

double secondsNow()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// A stat line as the kernel writes it, with the given command, state and start.
std::string statLine(const std::string &command, char state = 'S', const std::string &ticks = "123456")
{
    return "4242 (" + command + ") " + state + " 17 4242 4242 0 -1 4194304 1 2 3 4 5 6 7 8 20 0 1 0 " + ticks +
           " 1000 200 18446744073709551615 1 1 0 0\n";
}

class LinuxProcessTableTest : public ::testing::Test
{
protected:
    [[nodiscard]] QString bootTimeFile() const { return m_folder.filePath(QStringLiteral("boot-time")); }
    void writeBootTime(const QByteArray &text) const
    {
        QFile file(bootTimeFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(text), text.size());
    }
    [[nodiscard]] QByteArray readBootTime() const
    {
        QFile file(bootTimeFile());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QTemporaryDir m_folder;
    LinuxProcessTable m_table { m_folder.path() };
};

} // namespace

TEST(ProcessStat, readsTheFieldsOfAnOrdinaryLine)
{
    const auto stat = ProcessStat::parse(statLine("claude"));

    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->command, "claude");
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->parent, 17);
    EXPECT_EQ(stat->startTicks, 123456U);
}

TEST(ProcessStat, countsFieldsBehindTheLastBracketOfTheCommand)
{
    const auto stat = ProcessStat::parse(statLine("a) Z 1 (b\n) R"));

    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->command, "a) Z 1 (b\n) R");
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->parent, 17);
}

TEST(ProcessStat, takesAnEmptyCommand)
{
    const auto stat = ProcessStat::parse(statLine(""));

    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->command, "");
}

TEST(ProcessStat, knowsTheStatesOfAProcessThatIsGone)
{
    EXPECT_TRUE(ProcessStat::parse(statLine("x", 'Z'))->isGone());
    EXPECT_TRUE(ProcessStat::parse(statLine("x", 'X'))->isGone());
    EXPECT_TRUE(ProcessStat::parse(statLine("x", 'x'))->isGone());
    for (const char state : { 'R', 'S', 'D', 'T', 't', 'I', 'P' })
        EXPECT_FALSE(ProcessStat::parse(statLine("x", state))->isGone()) << state;
}

TEST(ProcessStat, refusesEveryCutThatMayHaveLostDigitsOfTheStart)
{
    const std::string line = statLine("x");
    const std::size_t endOfStart = line.find("123456") + 6;

    for (std::size_t length = 0; length <= endOfStart; ++length)
        EXPECT_FALSE(ProcessStat::parse(line.substr(0, length))) << length;
}

TEST(ProcessStat, refusesWhatIsNoStatLine)
{
    EXPECT_FALSE(ProcessStat::parse(")("));
    EXPECT_FALSE(ProcessStat::parse("1 (x)"));
    EXPECT_FALSE(ProcessStat::parse(statLine("x", 'S', "-5")));
    EXPECT_FALSE(ProcessStat::parse(statLine("x", 'S', "99999999999999999999999")));
}

TEST_F(LinuxProcessTableTest, givesTheStartOfAProcessInSecondsSince1970)
{
    const Child child;

    const auto start = m_table.startTime(child.pid());

    ASSERT_TRUE(start);
    // The boot time is told in whole seconds.
    EXPECT_NEAR(*start, secondsNow(), 5);
}

TEST_F(LinuxProcessTableTest, givesTheSameStartAgainAndAgain)
{
    const Child child;

    EXPECT_EQ(m_table.startTime(child.pid()), m_table.startTime(child.pid()));
}

TEST_F(LinuxProcessTableTest, tellsProcessesApartThatStartedTensOfMillisecondsAfterEachOther)
{
    const Child older;
    ::usleep(50'000); // The kernel's clock can't be moved by hand.
    const Child younger;

    EXPECT_LT(*m_table.startTime(older.pid()), *m_table.startTime(younger.pid()));
}

TEST_F(LinuxProcessTableTest, findsNoProcessForIdentifiersThatCanBeNone)
{
    for (const std::int64_t pid :
         { std::int64_t { 0 }, std::int64_t { -1 }, std::int64_t { std::numeric_limits<std::int32_t>::max() } + 1,
           (std::int64_t { 1 } << 32) + ::getpid(), std::numeric_limits<std::int64_t>::max(),
           std::numeric_limits<std::int64_t>::min() }) {
        EXPECT_FALSE(m_table.startTime(pid)) << pid;
        EXPECT_FALSE(m_table.parent(pid)) << pid;
        EXPECT_FALSE(m_table.commandName(pid)) << pid;
        EXPECT_EQ(m_table.terminate(pid, 0), ProcessTable::Signalled::NoSuchProcess) << pid;
    }
}

TEST_F(LinuxProcessTableTest, countsAZombieAsGone)
{
    const Child child([] { ::_exit(0); });
    child.waitUntilZombie();

    EXPECT_FALSE(m_table.startTime(child.pid()));
    EXPECT_FALSE(m_table.parent(child.pid()));
    EXPECT_FALSE(m_table.commandName(child.pid()));
}

TEST_F(LinuxProcessTableTest, findsNothingOnceAProcessWasReaped)
{
    pid_t pid = 0;
    {
        const Child child;
        pid = child.pid();
    }

    EXPECT_FALSE(m_table.startTime(pid));
}

TEST_F(LinuxProcessTableTest, knowsTheParent)
{
    const Child child;

    EXPECT_EQ(m_table.parent(child.pid()), ::getpid());
}

TEST_F(LinuxProcessTableTest, knowsTheCommandNameWhateverItHolds)
{
    const Child child([] { ::prctl(PR_SET_NAME, "a) Z 1\n(b"); });

    EXPECT_EQ(m_table.commandName(child.pid()), QStringLiteral("a) Z 1\n(b"));
    EXPECT_EQ(m_table.parent(child.pid()), ::getpid());
}

TEST_F(LinuxProcessTableTest, replacesBytesOfACommandNameThatAreNoUtf8)
{
    const Child child([] { ::prctl(PR_SET_NAME, "a\xff"); });

    EXPECT_EQ(m_table.commandName(child.pid()), QStringLiteral("a\uFFFD"));
}

TEST_F(LinuxProcessTableTest, countsFromTheBootTimeThatWasKeptForThisBoot)
{
    const Child child;
    const double start = *m_table.startTime(child.pid());
    const double boot = readBootTime().trimmed().split(' ').back().toDouble();

    writeBootTime(bootId() + " 1000\n");
    const LinuxProcessTable later(m_folder.path());

    EXPECT_NEAR(*later.startTime(child.pid()), start - boot + 1000, 0.001);
    EXPECT_EQ(readBootTime(), bootId() + " 1000\n");
}

TEST_F(LinuxProcessTableTest, takesNoBootTimeOfAnotherBoot)
{
    const QByteArray kept = readBootTime();

    writeBootTime("00000000-0000-0000-0000-000000000000 1000\n");
    const LinuxProcessTable later(m_folder.path());

    EXPECT_EQ(readBootTime(), kept);
    EXPECT_NEAR(*later.startTime(::getpid()), *m_table.startTime(::getpid()), 2);
}

TEST_F(LinuxProcessTableTest, replacesABootTimeThatCannotBeRead)
{
    const QByteArray kept = readBootTime();

    const QByteArray id = bootId();
    const QList<QByteArray> texts { "",
                                    "\n",
                                    id,
                                    id + "\n",
                                    id + " \n",
                                    id + " 12x\n",
                                    id + " 1000",
                                    id + " 99999999999999999999\n",
                                    QByteArray(100'000, ' ') };
    for (const QByteArray &broken : texts) {
        writeBootTime(broken);
        const LinuxProcessTable later(m_folder.path());
        EXPECT_EQ(readBootTime(), kept) << broken.left(80).toStdString();
    }
}

TEST_F(LinuxProcessTableTest, doesNotWaitForAFifoInThePlaceOfTheBootTime)
{
    ASSERT_TRUE(QFile::remove(bootTimeFile()));
    ASSERT_EQ(::mkfifo(QFile::encodeName(bootTimeFile()).constData(), 0600), 0);

    const LinuxProcessTable table(m_folder.path());

    EXPECT_TRUE(table.startTime(::getpid()));
}

TEST_F(LinuxProcessTableTest, keepsTheBootTimeForTheUserAlone)
{
    EXPECT_EQ(QFileInfo(bootTimeFile()).permissions() & ~(QFile::ReadUser | QFile::WriteUser),
              QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_TRUE(readBootTime().startsWith(QByteArray(bootId() + ' ')));
}

TEST_F(LinuxProcessTableTest, makesTheFolderForTheBootTime)
{
    const QString folder = m_folder.filePath(QStringLiteral("a/b"));

    const LinuxProcessTable table(folder);

    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/boot-time")));
}

TEST_F(LinuxProcessTableTest, worksWithAFolderThatCannotBeWritten)
{
    const Child child;
    const LinuxProcessTable table(bootTimeFile() + QStringLiteral("/inside-a-file"));

    ASSERT_TRUE(table.startTime(child.pid()));
    EXPECT_EQ(table.startTime(child.pid()), table.startTime(child.pid()));
}

TEST_F(LinuxProcessTableTest, terminatesTheProcessThatStartedThen)
{
    Child child;

    EXPECT_EQ(m_table.terminate(child.pid(), *m_table.startTime(child.pid())), ProcessTable::Signalled::Yes);

    EXPECT_EQ(child.endingSignal(), SIGTERM);
}

TEST_F(LinuxProcessTableTest, terminatesWithinASecondOfTheRecordedStart)
{
    Child child;

    EXPECT_EQ(m_table.terminate(child.pid(), *m_table.startTime(child.pid()) + 0.99), ProcessTable::Signalled::Yes);

    EXPECT_EQ(child.endingSignal(), SIGTERM);
}

TEST_F(LinuxProcessTableTest, leavesAProcessAloneThatStartedAtAnotherTime)
{
    const Child child;
    const double start = *m_table.startTime(child.pid());

    for (const double other : { start + 1.0, start - 1.01, 0.0, std::nan(""), std::numeric_limits<double>::infinity() })
        EXPECT_EQ(m_table.terminate(child.pid(), other), ProcessTable::Signalled::NoSuchProcess) << other;

    EXPECT_TRUE(m_table.startTime(child.pid()));
}

TEST_F(LinuxProcessTableTest, hasNothingToTerminateInAZombie)
{
    const Child child;
    const double start = *m_table.startTime(child.pid());
    ::kill(child.pid(), SIGKILL);
    child.waitUntilZombie();

    EXPECT_EQ(m_table.terminate(child.pid(), start), ProcessTable::Signalled::NoSuchProcess);
}

TEST_F(LinuxProcessTableTest, neverSignalsTheFirstProcess)
{
    const auto start = m_table.startTime(1);

    EXPECT_EQ(m_table.terminate(1, start.value_or(0)), ProcessTable::Signalled::NoSuchProcess);
}

TEST_F(LinuxProcessTableTest, terminatesWherePidfdsAreForbidden)
{
    for (const long call : { long { SYS_pidfd_open }, long { SYS_pidfd_send_signal } }) {
        Child target;
        const double start = *m_table.startTime(target.pid());
        // The filter can't be taken back, so a child does the rest.
        Child sandboxed([&] {
            std::array filter {
                sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1),
                sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
            };
            const sock_fprog program { filter.size(), filter.data() };
            if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
                ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
                ::_exit(1);
            if (m_table.terminate(target.pid(), start + 5) != ProcessTable::Signalled::NoSuchProcess)
                ::_exit(2);
            ::_exit(m_table.terminate(target.pid(), start) == ProcessTable::Signalled::Yes ? 0 : 3);
        });
        siginfo_t information {};
        ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(sandboxed.pid()), &information, WEXITED | WNOWAIT), 0);

        ASSERT_EQ(information.si_status, 0);
        EXPECT_EQ(target.endingSignal(), SIGTERM);
    }
}

TEST_F(LinuxProcessTableTest, leaksNoDescriptors)
{
    const auto lowestFree = [] {
        const int descriptor = ::dup(0);
        ::close(descriptor);
        return descriptor;
    };
    const int before = lowestFree();
    Child child;
    const double start = *m_table.startTime(child.pid());

    m_table.terminate(child.pid(), 0);
    m_table.terminate(child.pid(), start);

    EXPECT_EQ(lowestFree(), before);
}

} // namespace vantry::test
