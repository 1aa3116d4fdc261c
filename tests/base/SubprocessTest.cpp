#include "base/Subprocess.h"

#include "base/Cancellation.h"
#include "base/FileDescriptor.h"

#include <gmock/gmock.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

namespace vantry {
namespace {

using namespace std::chrono_literals;

Subprocess shell(const QString &script)
{
    Subprocess process;
    process.executable = QStringLiteral("/bin/sh");
    process.arguments = { QStringLiteral("-c"), script };
    return process;
}

QByteArray outputOf(const QString &script)
{
    return shell(script).run().standardOutput;
}

TEST(Subprocess, givesStatusAndBothOutputs)
{
    const auto result = shell(QStringLiteral("echo out; echo err >&2; exit 3")).run();

    EXPECT_TRUE(result.started);
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.standardOutput, "out\n");
    EXPECT_EQ(result.standardError, "err\n");
}

TEST(Subprocess, handsArgumentsOverAsTheyAre)
{
    Subprocess process;
    process.executable = QStringLiteral("/usr/bin/printf");
    process.arguments = { QStringLiteral("<%s>"), QStringLiteral("a b"), QString(), QStringLiteral("$HOME;é\n") };

    EXPECT_EQ(process.run().standardOutput, QByteArray("<a b><><$HOME;é\n>"));
}

TEST(Subprocess, saysWhenItCannotStart)
{
    for (const QString &executable :
         { QStringLiteral("/nowhere/program"), QStringLiteral("/etc/passwd"), QStringLiteral("/tmp"), QString(),
           QString(QStringLiteral("/bin/true") + QChar()) }) {
        Subprocess process;
        process.executable = executable;
        const auto result = process.run();
        EXPECT_FALSE(result.started) << executable.toStdString();
        EXPECT_EQ(result.exitStatus, -1);
    }
}

TEST(Subprocess, saysWhenItsDirectoryIsGone)
{
    Subprocess process = shell(QStringLiteral("pwd"));
    process.workingDirectory = QStringLiteral("/nowhere");
    EXPECT_FALSE(process.run().started);
}

TEST(Subprocess, runsInTheDirectory)
{
    const QTemporaryDir scratch;
    Subprocess process = shell(QStringLiteral("pwd -P"));
    process.workingDirectory = scratch.path();
    EXPECT_EQ(process.run().standardOutput, QFile::encodeName(QDir(scratch.path()).canonicalPath()) + "\n");
}

TEST(Subprocess, changesTheEnvironmentForTheChildAlone)
{
    qputenv("GIT_ONE", "1");
    qputenv("GIT_TWO", "2");
    qputenv("GITX", "3");
    qputenv("VANTRY_TEST", "4");
    Subprocess process = shell(QStringLiteral("echo \"$GIT_ONE|$GIT_TWO|$GITX|$VANTRY_TEST|$ADDED|$PATH\""));
    process.removedVariables = { QStringLiteral("GIT_*"), QStringLiteral("VANTRY_TEST") };
    process.addedVariables = { { QStringLiteral("GIT_TWO"), QStringLiteral("new") },
                               { QStringLiteral("ADDED"), QStringLiteral("a=b c") },
                               { QStringLiteral("PATH"), QStringLiteral("/bin") } };

    EXPECT_EQ(process.run().standardOutput, "|new|3||a=b c|/bin\n");
    EXPECT_EQ(qgetenv("GIT_TWO"), "2");
    for (const char *name : { "GIT_ONE", "GIT_TWO", "GITX", "VANTRY_TEST" })
        qunsetenv(name);
}

TEST(Subprocess, readsLargeOutputsOfBothPipes)
{
    const auto result = shell(QStringLiteral("head -c 3000000 /dev/zero & head -c 2000000 /dev/zero >&2; wait")).run();
    EXPECT_EQ(result.standardOutput.size(), 3'000'000);
    EXPECT_EQ(result.standardError.size(), 2'000'000);
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(Subprocess, readsOnWhenTheChildClosesOneOutputEarly)
{
    const auto result = shell(QStringLiteral("exec >&-; head -c 300000 /dev/zero >&2")).run();
    EXPECT_EQ(result.standardError.size(), 300'000);
}

TEST(Subprocess, givesTheChildNoInput)
{
    EXPECT_EQ(outputOf(QStringLiteral("cat; echo end")), "end\n");
}

TEST(Subprocess, saysWhenASignalEndedIt)
{
    const auto result = shell(QStringLiteral("echo before; kill -9 $$")).run();
    EXPECT_TRUE(result.started);
    EXPECT_EQ(result.exitStatus, -1);
    EXPECT_EQ(result.standardOutput, "before\n");
}

TEST(Subprocess, killsAllThatTheChildStartedWhenTheTimeIsUp)
{
    const QTemporaryDir scratch;
    const QString fifo = scratch.filePath(QStringLiteral("fifo"));
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    // Both hold the FIFO open for writing: once both are gone, and only then, its reader sees the end.
    const FileDescriptor reader(open(QFile::encodeName(fifo).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    Subprocess process =
        shell(QString(QStringLiteral("exec 9>") + fifo + QStringLiteral("; sleep 600 & echo on; sleep 600")));
    process.timeout = 300ms;

    const auto result = process.run();

    EXPECT_TRUE(result.started);
    EXPECT_EQ(result.exitStatus, -1);
    EXPECT_EQ(result.standardOutput, "on\n");
    fcntl(reader.get(), F_SETFL, 0);
    char byte = 0;
    EXPECT_EQ(read(reader.get(), &byte, 1), 0);
}

TEST(Subprocess, doesNotWaitForAGrandchildThatHoldsTheOutputs)
{
    Subprocess process = shell(QStringLiteral("sleep 30 & echo $!"));
    process.timeout = 25s;

    const auto result = process.run();

    EXPECT_EQ(result.exitStatus, 0);
    const int grandchild = result.standardOutput.trimmed().toInt();
    ASSERT_GT(grandchild, 1);
    EXPECT_EQ(kill(grandchild, SIGKILL), 0) << "it was waited for";
}

TEST(Subprocess, doesNotFollowAGrandchildThatGoesOnWriting)
{
    Subprocess process = shell(QStringLiteral("yes >&1 & echo $! >&2"));
    process.timeout = 25s;

    const auto result = process.run();

    EXPECT_EQ(result.exitStatus, 0);
    const int grandchild = result.standardError.trimmed().toInt();
    ASSERT_GT(grandchild, 1);
    kill(grandchild, SIGKILL);
}

TEST(Subprocess, killsOneThatFloodsAnOutput)
{
    for (const QString &script : { QStringLiteral("exec cat /dev/zero"), QStringLiteral("exec cat /dev/zero >&2") }) {
        Subprocess process = shell(script);
        process.timeout = 10min;

        const auto result = process.run();

        EXPECT_TRUE(result.started);
        EXPECT_EQ(result.exitStatus, -1);
        EXPECT_LT(std::max(result.standardOutput.size(), result.standardError.size()),
                  Subprocess::maximumOutput + 2 * 1024 * 1024);
    }
}

TEST(Subprocess, takesAsMuchOutputAsIsAllowed)
{
    const QByteArray output = outputOf(QStringLiteral("head -c %1 /dev/zero").arg(Subprocess::maximumOutput));

    EXPECT_EQ(output.size(), Subprocess::maximumOutput);
}

TEST(Subprocess, isKilledWhenTheWorkOfItsThreadIsCancelled)
{
    Cancellation cancellation;
    std::thread thread([&cancellation] {
        const Cancellation::Scope scope(cancellation);
        Subprocess process = shell(QStringLiteral("exec sleep 600"));
        process.timeout = 10min;
        EXPECT_EQ(process.run().exitStatus, -1);
    });
    cancellation.cancel();
    thread.join();
}

TEST(Subprocess, isNotKilledByTheCancellationOfOtherWork)
{
    Cancellation cancellation;
    cancellation.cancel();
    {
        const Cancellation::Scope scope(cancellation);
    }

    EXPECT_EQ(shell(QStringLiteral("exit 3")).run().exitStatus, 3);
}

TEST(Subprocess, startsWithUsualSignals)
{
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto handler = signal(SIGPIPE, SIG_IGN);

    // Without a shell: it blocks signals on its own while it starts a program.
    Subprocess process;
    process.executable = QStringLiteral("/bin/grep");
    process.arguments = { QStringLiteral("-E"), QStringLiteral("^Sig(Blk|Ign)"), QStringLiteral("/proc/self/status") };
    const QByteArray status = process.run().standardOutput;

    signal(SIGPIPE, handler);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(status, "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST(Subprocess, leadsAGroupAndASessionOfItsOwn)
{
    // The fields of stat behind the name: state, parent, group, session.
    const auto words = outputOf(QStringLiteral("echo $$; cut -d')' -f2 /proc/$$/stat")).split('\n');
    const auto fields = words.value(1).trimmed().split(' ');
    EXPECT_EQ(fields.value(2), words.value(0));
    EXPECT_EQ(fields.value(3), words.value(0));
}

TEST(Subprocess, handsNoDescriptorDown)
{
    const FileDescriptor leak(open("/dev/null", O_RDONLY)); // Not close-on-exec, as a library may leave it.
    EXPECT_EQ(outputOf(QStringLiteral("ls /proc/self/fd")), "0\n1\n2\n3\n");
}

TEST(Subprocess, givesTheChildTheOriginalLimitOfOpenFiles)
{
    rlimit before {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit low = before;
    low.rlim_cur = 100;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);

    raiseOpenFileLimit();

    rlimit raised {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &raised), 0);
    EXPECT_EQ(raised.rlim_cur, before.rlim_max);
    EXPECT_EQ(outputOf(QStringLiteral("ulimit -Sn; ulimit -Hn")).split('\n').value(0), "100");
    // A second call must not take the raised limit for the original one.
    raiseOpenFileLimit();
    EXPECT_EQ(outputOf(QStringLiteral("ulimit -Sn")), "100\n");
}

TEST(Subprocess, runsOnManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    std::atomic<int> sound { 0 };
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&sound, i] {
            for (int run = 0; run < 10; ++run) {
                const auto result = shell(QStringLiteral("echo %1; exit %1").arg(i)).run();
                if (result.exitStatus == i && result.standardOutput == QByteArray::number(i) + "\n")
                    ++sound;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(sound, 40);
}

TEST(Subprocess, leavesTheEventLoopOfItsThreadAlone)
{
    bool hasTurned = false;
    QTimer::singleShot(0, [&] { hasTurned = true; });
    static_cast<void>(shell(QStringLiteral("sleep 0.05")).run());
    EXPECT_FALSE(hasTurned);
}

TEST(Subprocess, leavesNoZombieAndNoDescriptor)
{
    const auto count = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
    };
    const auto before = count();
    for (int i = 0; i < 3; ++i) {
        static_cast<void>(shell(QStringLiteral("exit 0")).run());
        Subprocess missing;
        missing.executable = QStringLiteral("/nowhere");
        static_cast<void>(missing.run());
    }
    EXPECT_EQ(count(), before);
    EXPECT_EQ(outputOf(QStringLiteral("ps -o stat= --ppid $PPID | grep -c Z")), "0\n");
}

TEST(ChildProcess, isGivenWhatIsWrittenToItAndItsEnd)
{
    ChildProcess::Plan plan = shell(QStringLiteral("cat; echo over")).plan();
    plan.hasInput = true;
    auto child = ChildProcess::start(plan);
    ASSERT_TRUE(child);
    EXPECT_EQ(send(child->standardInput().get(), "in\n", 3, MSG_NOSIGNAL), 3);
    child->standardInput().reset();
    while (!child->hasEnded()) {
        pollfd end = child->watchEnd();
        poll(&end, 1, static_cast<int>(child->longestWait().count()));
    }
    std::array<char, 64> text {};
    EXPECT_EQ(read(child->standardOutput().get(), text.data(), text.size()), 8);
    EXPECT_STREQ(text.data(), "in\nover\n");
    EXPECT_EQ(child->exitStatus(), 0);
}

} // namespace
} // namespace vantry
