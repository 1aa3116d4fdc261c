// The backfill of 500 MB of transcripts: against a pass that only finds the line ends, against Python's json.loads on
// each line, against "wc -l" with the files out of the cache; how long a save on the main thread takes meanwhile, and
// how much memory it needs. Medians of alternating rounds. Operands: how many transcripts (100), how many
// megabytes (500).

#include "base/Defaults.h"
#include "base/Subprocess.h"
#include "sessions/SessionStore.h"
#include "transcripts/RealisticTranscript.h"
#include "transcripts/TranscriptIndexer.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace vantry;

namespace {

constexpr int rounds = 5;
constexpr std::chrono::milliseconds betweenSaves { 1 };

class NoLog final : public Log
{
public:
    void write(std::string_view) override {}
};

/// Wall-clock and processor time of this process or of the programs that it has started, in milliseconds.
struct Cost
{
    double wall;
    double cpu;
};

double cpuMilliseconds(__rusage_who who)
{
    rusage usage {};
    getrusage(who, &usage);
    double total = 0;
    for (const timeval &time : { usage.ru_utime, usage.ru_stime })
        total += static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    return total;
}

double wallMilliseconds()
{
    return Seconds(SystemClock().monotonicNow().time_since_epoch()).count() * 1e3;
}

Cost cost(const std::function<void()> &work, __rusage_who who = RUSAGE_SELF)
{
    const Cost before { wallMilliseconds(), cpuMilliseconds(who) };
    work();
    return { wallMilliseconds() - before.wall, cpuMilliseconds(who) - before.cpu };
}

double quantile(std::vector<double> values, double part)
{
    std::ranges::sort(values);
    return values.at(static_cast<std::size_t>(part * static_cast<double>(values.size() - 1)));
}

/// Medians of both kinds of time.
struct Costs
{
    std::vector<double> wall;
    std::vector<double> cpu;

    void add(Cost cost)
    {
        wall.push_back(cost.wall);
        cpu.push_back(cost.cpu);
    }
    [[nodiscard]] double medianWall() const { return quantile(wall, 0.5); }
    [[nodiscard]] double medianCpu() const { return quantile(cpu, 0.5); }
};

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A scratch home full of transcripts.
class Home
{
public:
    Home(int count, std::size_t size)
    {
        bench::RealisticTranscript transcript;
        const QString projects = m_folder.filePath(QStringLiteral(".claude/projects"));
        for (int i = 0; i < count; ++i) {
            const QString project = projects + QStringLiteral("/-home-user-project%1").arg(i % 10);
            require(QDir().mkpath(project));
            const QString path =
                project + QStringLiteral("/0f1c5e2a-0000-4000-8000-%1.jsonl").arg(i, 12, 10, QChar(u'0'));
            transcript.append(path, size / static_cast<std::size_t>(count));
            m_files.append(path);
        }
    }

    [[nodiscard]] QString path() const { return m_folder.path(); }
    [[nodiscard]] const QStringList &files() const { return m_files; }

    void putOutOfTheCache() const
    {
        for (const QString &path : m_files) {
            const FileDescriptor file(::open(path.toUtf8().constData(), O_RDONLY | O_CLOEXEC));
            require(fdatasync(file.get()) == 0);
            require(posix_fadvise(file.get(), 0, 0, POSIX_FADV_DONTNEED) == 0);
        }
    }

private:
    // Beside the program: the folder for temporary files may be no disk.
    const QTemporaryDir m_folder { QCoreApplication::applicationDirPath() + QStringLiteral("/backfill-XXXXXX") };
    QStringList m_files;
};

/// How many lines end in the file, by a look at its pages.
std::size_t countLineEnds(const QString &path)
{
    const FileDescriptor file(::open(path.toUtf8().constData(), O_RDONLY | O_CLOEXEC));
    const auto size = static_cast<std::size_t>(lseek(file.get(), 0, SEEK_END));
    void *const pages = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    require(pages != MAP_FAILED);
    const char *position = static_cast<const char *>(pages);
    const char *const end = position + size;
    std::size_t count = 0;
    while (const void *found = std::memchr(position, '\n', static_cast<std::size_t>(end - position))) {
        position = static_cast<const char *>(found) + 1;
        ++count;
    }
    munmap(pages, size);
    return count;
}

void runProgram(const QString &executable, QStringList arguments, const QStringList &files)
{
    const Subprocess program { .executable = executable,
                               .arguments = std::move(arguments) + files,
                               .workingDirectory = QStringLiteral("/"),
                               .removedVariables = {},
                               .addedVariables = {},
                               .timeout = std::chrono::seconds { 300 } };
    require(program.run().exitStatus == 0);
}

/// A store on a file of its own and what one start's backfill needs beside it.
class Backfill
{
public:
    explicit Backfill(const Home &home)
        : m_defaults(m_folder.filePath(QStringLiteral("settings.json")), m_mainQueue, m_log)
        , m_indexer(home.path(), m_defaults, m_mainQueue, m_workers, m_log)
    {
        m_store.queue().sync([this] { m_store.open(); });
    }

    /// Runs it to its end, and what is given beside it until then.
    void run(const std::function<void(SessionStore &)> &beside = {})
    {
        bool isComplete = false;
        m_indexer.onProgress = [&](TranscriptIndexer::Progress progress) {
            isComplete = progress.done == progress.total;
        };
        m_indexer.backfill(m_store);
        while (!isComplete) {
            if (beside)
                beside(m_store);
            else
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            QCoreApplication::processEvents();
        }
        require(!m_store.queue().sync([this] { return m_store.indexedSessionIDs(); }).isEmpty());
    }

    [[nodiscard]] SessionStore &store() { return m_store; }

private:
    NoLog m_log;
    SystemClock m_clock;
    QtMainQueue m_mainQueue;
    const QTemporaryDir m_folder { QCoreApplication::applicationDirPath() + QStringLiteral("/store-XXXXXX") };
    Defaults m_defaults;
    SessionStore m_store { m_folder.filePath(QStringLiteral("vantry.db")), m_clock, m_log };
    WorkerPool m_workers;
    TranscriptIndexer m_indexer;
};

long peakMemory()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void measureWarm(const Home &home)
{
    Costs ends;
    Costs backfill;
    for (int round = 0; round < rounds; ++round) {
        ends.add(cost([&] {
            for (const QString &path : home.files())
                require(countLineEnds(path) > 0);
        }));
        Backfill once(home);
        backfill.add(cost([&] { once.run(); }));
    }
    std::printf(
        "warm: line ends %.0f ms, backfill %.0f ms, throughput %.2f of it (at least 0.2); CPU %.0f and %.0f ms, "
        "%.2f\n",
        ends.medianWall(), backfill.medianWall(), ends.medianWall() / backfill.medianWall(), ends.medianCpu(),
        backfill.medianCpu(), ends.medianCpu() / backfill.medianCpu());

    const Cost python = cost(
        [&] {
            runProgram(QStringLiteral("/usr/bin/python3"),
                       { QStringLiteral("-c"), QStringLiteral("import json, sys\n"
                                                              "for path in sys.argv[1:]:\n"
                                                              "    for line in open(path, 'rb'):\n"
                                                              "        json.loads(line)\n") },
                       home.files());
        },
        RUSAGE_CHILDREN);
    std::printf("      json.loads %.0f ms, %.1f times as long (at least 7); CPU %.0f ms, %.1f times\n", python.wall,
                python.wall / backfill.medianWall(), python.cpu, python.cpu / backfill.medianCpu());
}

void measureCold(const Home &home)
{
    Costs counts;
    Costs backfill;
    for (int round = 0; round < rounds; ++round) {
        home.putOutOfTheCache();
        counts.add(cost([&] { runProgram(QStringLiteral("/usr/bin/wc"), { QStringLiteral("-l") }, home.files()); }));
        Backfill once(home);
        home.putOutOfTheCache();
        backfill.add(cost([&] { once.run(); }));
    }
    std::printf("cold: wc -l %.0f ms, backfill %.0f ms, throughput %.2f of it (at least 0.8)\n", counts.medianWall(),
                backfill.medianWall(), counts.medianWall() / backfill.medianWall());
}

void measureSaves(const Home &home)
{
    VantrySession::Init init;
    init.id = QStringLiteral("live");
    init.cwd = QStringLiteral("/home/user/project");
    const VantrySession session(std::move(init));
    const auto save = [&](SessionStore &store, std::vector<double> &times) {
        times.push_back(cost([&] { store.queue().sync([&] { store.save(session); }); }).wall);
        std::this_thread::sleep_for(betweenSaves);
    };
    std::vector<double> idle;
    std::vector<double> busy;
    for (int round = 0; round < rounds; ++round) {
        Backfill once(home);
        for (int i = 0; i < 300; ++i)
            save(once.store(), idle);
        once.run([&](SessionStore &store) { save(store, busy); });
    }
    std::printf("a save on the main thread, idle: p50 %.2f, p99 %.2f ms; during the backfill: p50 %.2f, p99 %.2f, most "
                "%.2f ms of %zu (p99 under 5)\n",
                quantile(idle, 0.5), quantile(idle, 0.99), quantile(busy, 0.5), quantile(busy, 0.99), quantile(busy, 1),
                busy.size());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    setlinebuf(stdout);
    const Home home(argc > 1 ? std::atoi(argv[1]) : 100, (argc > 2 ? std::stoul(argv[2]) : 500) << 20);
    {
        Backfill once(home);
        const long before = peakMemory();
        once.run();
        std::printf("memory: %.1f MB more than before (at most 30)\n",
                    static_cast<double>(peakMemory() - before) / 1024);
    }
    measureSaves(home);
    measureWarm(home);
    measureCold(home);
    return 0;
}
