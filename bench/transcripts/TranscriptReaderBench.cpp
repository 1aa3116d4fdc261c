// One tick over 20 sessions, with its log lines, against reading the same tails and looking at nothing. CPU of the one
// thread that does it; goal: at most 2 ms a tick.

#include "base/DebugLog.h"
#include "sessions/GitFacts.h"
#include "sessions/SessionManager.h"
#include "sessions/SessionStore.h"
#include "transcripts/TranscriptFile.h"
#include "transcripts/TranscriptReader.h"
#include "transcripts/TranscriptTail.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

using namespace vantry;

namespace {

constexpr int sessionCount = 20;

class NoProcesses final : public ProcessChecking
{
public:
    [[nodiscard]] std::optional<double> processStartTime(std::int64_t) const override { return std::nullopt; }
    void terminate(std::int64_t, double) override {}
};

QByteArray recorded(const QString &name)
{
    QFile file(QStringLiteral(VANTRY_FIXTURES "/transcripts/") + name);
    if (!file.open(QIODevice::ReadOnly))
        std::exit(1);
    return file.readAll();
}

/// 20 working sessions, each with a transcript of its own that begins with an old conversation.
class Scene
{
public:
    explicit Scene(const QByteArray &end)
    {
        for (int index = 0; index < sessionCount; ++index) {
            const QString path = m_folder.filePath(QStringLiteral("%1.jsonl").arg(index));
            QFile file(path);
            if (!file.open(QIODevice::WriteOnly) || file.write(recorded(QStringLiteral("bash-allowed.jsonl"))) < 0 ||
                file.write(end) != end.size())
                std::exit(1);
            HookEvent event;
            event.sessionID = QStringLiteral("3f0d9a64-6a0c-4d0e-9f5b-8c0a4d7b1e%1").arg(index);
            event.hookEventName = HookEventType::preToolUse;
            event.transcriptPath = path;
            m_manager.handleEvent(event);
            m_paths.append(path);
        }
        m_reader.sessionManager = &m_manager;
        // Afterwards no event is recent any more.
        for (const SessionPtr &session : m_manager.sessions())
            session->setLastUpdated(m_clock.now() - std::chrono::minutes { 1 });
    }

    void tick() { m_reader.checkSessions(); }
    void readTails() const
    {
        for (const QString &path : m_paths)
            benchmark::DoNotOptimize(TranscriptFile::open(path)->read(0, transcriptTailLength));
    }

private:
    const QTemporaryDir m_folder;
    const SystemClock m_clock;
    QtScheduler m_scheduler;
    QtMainQueue m_mainQueue;
    WorkerPool m_workers;
    NoProcesses m_processes;
    DebugLog m_log { m_folder.filePath(QStringLiteral("debug.log")), m_clock };
    SessionStore m_store { m_folder.filePath(QStringLiteral("vantry.db")), m_clock, m_log.general() };
    GitFacts m_git { m_mainQueue, m_workers };
    PendingPermissionStore m_held { m_clock, m_scheduler, m_log.general() };
    SessionManager m_manager { m_store, m_processes, m_git, m_held, m_clock, m_log.general() };
    TranscriptReader m_reader { m_folder.path(), m_scheduler, m_clock, m_log.general() };
    QStringList m_paths;
};

QByteArray longLine(qsizetype length)
{
    const QByteArray text = QByteArray(R"("type":"user","uuid":"x"\n  if (a < b)\n)").replace('"', "\\\"");
    return R"({"type":"attachment","text":")" + text.repeated(length / text.size()) + "\"}\n{\"type\":\"mode\"}\n";
}

void tick(benchmark::State &state, const QByteArray &end)
{
    Scene scene(end);
    for (auto _ : state)
        scene.tick();
}

void bareRead(benchmark::State &state)
{
    const Scene scene({});
    for (auto _ : state)
        scene.readTails();
}
BENCHMARK(bareRead)->Unit(benchmark::kMicrosecond);

/// Lines of ordinary length alone.
void tickWithinATurn(benchmark::State &state)
{
    const QByteArray turns = recorded(QStringLiteral("edit.short.jsonl")) +
                             recorded(QStringLiteral("plan-approved.short.jsonl")) +
                             recorded(QStringLiteral("escape-during-command.short.jsonl")).left(11'000);
    tick(state, turns);
}
BENCHMARK(tickWithinATurn)->Unit(benchmark::kMicrosecond);

/// The usage stands before an attachment of 64 KB.
void tickBehindALongLine(benchmark::State &state)
{
    tick(state, recorded(QStringLiteral("ends-with-question.jsonl")));
}
BENCHMARK(tickBehindALongLine)->Unit(benchmark::kMicrosecond);

/// The longest lines that were seen.
void tickBehindTheLongestLine(benchmark::State &state)
{
    tick(state, longLine(243'000));
}
BENCHMARK(tickBehindTheLongestLine)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
