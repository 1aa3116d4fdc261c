#include "base/Subprocess.h"

#include "base/FileDescriptor.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// A process that is started and let go writes what it finds into a folder, where the test waits for it.
class DetachedProcess : public ::testing::Test
{
protected:
    /// Longer than any test lasts: a call that returns has seen the end.
    static constexpr auto untilItEnds = 10min;

    [[nodiscard]] Subprocess shell(const QString &script, std::chrono::milliseconds watched = 0ms) const
    {
        Subprocess process;
        process.executable = u"/bin/sh"_s;
        process.arguments = { u"-c"_s, script };
        process.workingDirectory = folder.path();
        process.timeout = watched;
        return process;
    }
    /// What a script prints, once it has ended.
    [[nodiscard]] QByteArray outputOf(const QString &script) const
    {
        EXPECT_EQ(shell(u"exec >written; "_s + script, untilItEnds).startDetached().exitStatus, 0);
        return contents(u"written"_s);
    }
    [[nodiscard]] QByteArray contents(const QString &name) const
    {
        QFile file(folder.filePath(name));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// Waits for a line of another process.
    [[nodiscard]] QByteArray waitFor(const QString &name) const
    {
        while (!contents(name).endsWith('\n'))
            std::this_thread::sleep_for(1ms);
        return contents(name).trimmed();
    }

    QTemporaryDir folder;
};

TEST_F(DetachedProcess, runsOnAsNobodysChild)
{
    const auto launch = shell(u"while [ \"$(cut -d' ' -f4 /proc/$$/stat)\" = "_s + QString::number(::getpid()) +
                              u" ]; do :; done; cut -d' ' -f4 /proc/$$/stat >parent; echo $$ >pid; exec sleep 600"_s)
                            .startDetached();

    EXPECT_TRUE(launch.started);
    EXPECT_FALSE(launch.exitStatus);
    const pid_t pid = waitFor(u"pid"_s).toInt();
    ASSERT_GT(pid, 1);
    EXPECT_NE(waitFor(u"parent"_s).toInt(), ::getpid());
    EXPECT_EQ(::kill(pid, SIGKILL), 0);
}

TEST_F(DetachedProcess, tellsHowOneHasEndedAlready)
{
    EXPECT_EQ(shell(u"exit 3"_s, untilItEnds).startDetached().exitStatus, 3);
    EXPECT_EQ(shell(u"exit 0"_s, untilItEnds).startDetached().exitStatus, 0);
    EXPECT_EQ(shell(u"kill -9 $$"_s, untilItEnds).startDetached().exitStatus, -1);
}

TEST_F(DetachedProcess, isNotEndedWhenItIsWatchedNoLonger)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(folder.filePath(u"gate"_s)).constData(), 0600), 0);

    const auto launch = shell(u"read line <gate; echo $line >written"_s, 10ms).startDetached();

    EXPECT_TRUE(launch.started);
    EXPECT_FALSE(launch.exitStatus);
    QFile gate(folder.filePath(u"gate"_s));
    ASSERT_TRUE(gate.open(QFile::WriteOnly));
    gate.write("still here\n");
    gate.close();
    EXPECT_EQ(waitFor(u"written"_s), "still here");
}

TEST_F(DetachedProcess, saysWhenItCannotStart)
{
    Subprocess missing = shell({});
    missing.executable = u"/nowhere/at-all"_s;
    Subprocess lost = shell(u"exit 0"_s);
    lost.workingDirectory = u"/nowhere"_s;
    Subprocess broken = shell(u"echo "_s + QChar(0));

    for (const Subprocess &process : { missing, lost, broken }) {
        const auto launch = process.startDetached();
        EXPECT_FALSE(launch.started);
        EXPECT_FALSE(launch.exitStatus);
    }
}

TEST_F(DetachedProcess, leadsASessionOfItsOwn)
{
    // The fields of stat behind the name: state, parent, group, session.
    const auto words = outputOf(u"echo $$; cut -d')' -f2 /proc/$$/stat"_s).split('\n');
    const auto fields = words.value(1).trimmed().split(' ');
    EXPECT_EQ(fields.value(2), words.value(0));
    EXPECT_EQ(fields.value(3), words.value(0));
}

TEST_F(DetachedProcess, holdsNoDescriptorOfOurs)
{
    const FileDescriptor leak(open("/dev/null", O_RDONLY)); // Not close-on-exec, as a library may leave it.

    // The last one is the folder that is being listed.
    EXPECT_EQ(outputOf(u"ls /proc/self/fd"_s), "0\n1\n2\n3\n");
    EXPECT_EQ(outputOf(u"readlink /proc/self/fd/0 /proc/self/fd/2"_s), "/dev/null\n/dev/null\n");
}

TEST_F(DetachedProcess, mayWriteAsMuchAsItLikes)
{
    EXPECT_EQ(
        shell(u"head -c 1000000 /dev/zero; head -c 1000000 /dev/zero >&2"_s, untilItEnds).startDetached().exitStatus,
        0);
}

TEST_F(DetachedProcess, startsWithUsualSignals)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto handler = signal(SIGINT, SIG_IGN);

    Subprocess process = shell({}, untilItEnds);
    process.executable = u"/usr/bin/awk"_s;
    process.arguments = { u"/^Sig(Blk|Ign)/ { print > \"written\" }"_s, u"/proc/self/status"_s };
    static_cast<void>(process.startDetached());

    signal(SIGINT, handler);
    EXPECT_EQ(contents(u"written"_s), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(sigismember(&after, SIGTERM), 1);
    EXPECT_EQ(sigismember(&after, SIGINT), 0);
}

TEST_F(DetachedProcess, getsTheEnvironmentThatWasAskedFor)
{
    qputenv("VANTRY_PROBE", "x");
    Subprocess process = shell(u"echo ${VANTRY_PROBE-none} $ADDED >written"_s, untilItEnds);
    process.removedVariables = { u"VANTRY_*"_s };
    process.addedVariables = { { u"ADDED"_s, u"yes"_s } };

    EXPECT_EQ(process.startDetached().exitStatus, 0);

    EXPECT_EQ(contents(u"written"_s), "none yes\n");
    qunsetenv("VANTRY_PROBE");
}

TEST_F(DetachedProcess, getsTheOriginalLimitOfOpenFiles)
{
    rlimit before {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit low = before;
    low.rlim_cur = 100;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);

    raiseOpenFileLimit();

    EXPECT_EQ(outputOf(u"ulimit -Sn"_s), "100\n");
}

TEST_F(DetachedProcess, leavesNoZombieAndNoDescriptor)
{
    const auto count = [] { return QDir(u"/proc/self/fd"_s).entryList(QDir::AllEntries | QDir::System).size(); };
    const auto before = count();
    for (int i = 0; i < 3; ++i) {
        static_cast<void>(shell(u"exit 0"_s).startDetached());
        static_cast<void>(shell(u"exit 1"_s, untilItEnds).startDetached());
        Subprocess missing;
        missing.executable = u"/nowhere"_s;
        static_cast<void>(missing.startDetached());
    }
    EXPECT_EQ(count(), before);
    EXPECT_EQ(outputOf(u"ps -o stat= --ppid %1 | grep -c Z || :"_s.arg(::getpid())), "0\n");
}

} // namespace
} // namespace vantry
