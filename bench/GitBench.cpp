// Samples of 20 sessions in 4 repositories against 4 runs of a bare "git diff": CPU of this process and of all that it
// started, and how long the main thread was kept, in alternating rounds.

#include "base/Subprocess.h"
#include "sessions/GitFacts.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace vantry;

namespace {

constexpr int repositories = 4;
constexpr int sessionsInEach = 5;
constexpr int files = 5'000;
constexpr int changedFiles = 13;
constexpr int rounds = 15;

double cpuMilliseconds()
{
    double total = 0;
    for (const int who : { RUSAGE_SELF, RUSAGE_CHILDREN }) {
        rusage usage {};
        getrusage(who, &usage);
        for (const timeval &time : { usage.ru_utime, usage.ru_stime })
            total += static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    }
    return total;
}

void git(const QString &directory, const QStringList &arguments)
{
    const QStringList who { QStringLiteral("-c"), QStringLiteral("user.name=a"), QStringLiteral("-c"),
                            QStringLiteral("user.email=a@b") };
    const Subprocess process { .executable = QStringLiteral("/usr/bin/git"),
                               .arguments = who + arguments,
                               .workingDirectory = directory,
                               .removedVariables = {},
                               .addedVariables = {},
                               .timeout = std::chrono::seconds { 60 } };
    if (process.run().exitStatus != 0)
        std::exit(1);
}

void writeFiles(const QString &directory, int count, const QByteArray &text)
{
    for (int index = 0; index < count; ++index) {
        QFile file(directory + QStringLiteral("/file%1").arg(index));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            std::exit(1);
    }
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    QStringList directories;
    std::vector<SessionPtr> sessions;
    for (int index = 0; index < repositories; ++index) {
        const QString directory = folder.filePath(QString::number(index));
        git(folder.path(), { QStringLiteral("init"), QStringLiteral("-q"), directory });
        writeFiles(directory, files, "one\ntwo\n");
        git(directory, { QStringLiteral("add"), QStringLiteral(".") });
        git(directory, { QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("-m"), QStringLiteral("x") });
        writeFiles(directory, changedFiles, "one\nthree\n");
        directories.append(directory);
        for (int session = 0; session < sessionsInEach; ++session) {
            VantrySession::Init init;
            init.cwd = directory;
            sessions.push_back(std::make_shared<VantrySession>(std::move(init)));
        }
    }

    QtMainQueue mainQueue;
    WorkerPool workers;
    GitFacts facts(mainQueue, workers);
    const SystemClock clock;
    std::vector<double> bare;
    std::vector<double> sampled;
    std::vector<double> kept;
    for (int round = 0; round < rounds; ++round) {
        double before = cpuMilliseconds();
        for (const QString &directory : directories)
            git(directory, { QStringLiteral("diff"), QStringLiteral("HEAD"), QStringLiteral("--shortstat") });
        bare.push_back(cpuMilliseconds() - before);

        before = cpuMilliseconds();
        const MonotonicTime begin = clock.monotonicNow();
        for (const SessionPtr &session : sessions)
            facts.sampleGitDiff(session, {});
        kept.push_back(Seconds(clock.monotonicNow() - begin).count() * 1e3);
        workers.waitForDone();
        mainQueue.drain();
        sampled.push_back(cpuMilliseconds() - before);
    }
    std::printf("4 bare diffs %.1f ms CPU, 20 samples %.1f ms, ratio %.2f; main thread kept for %.3f ms\n",
                median(bare), median(sampled), median(sampled) / median(bare), median(kept));
    return 0;
}
