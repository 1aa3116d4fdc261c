// The session store over 1,000 sessions with 5 KB of prompts each, beside the plain statements that give the same rows
// on a connection of their own, prepared for each call. p50_us and p99_us are wall times of single calls; the CPU
// column is that of the whole process, the store's thread included.

#include "sessions/SessionStore.h"
#include "sessions/Statement.h"

#include <benchmark/benchmark.h>

#include <QStringList>
#include <QTemporaryDir>
#include <QUuid>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vantry;

constexpr int sessionCount = 1000;
constexpr int promptWords = 750;

class NoLog final : public Log
{
public:
    void write(std::string_view) override {}
};

/// Words whose frequencies fall off as those of a language do.
class Vocabulary
{
public:
    Vocabulary()
    {
        const QString letters = QStringLiteral("abcdefghijklmnoprstuvwy");
        for (int i = 0; i < 8000; ++i) {
            QString word;
            for (int length = number(3, 9); length > 0; --length)
                word += letters[number(0, static_cast<int>(letters.size()) - 1)];
            m_words.append(word);
        }
    }

    [[nodiscard]] const QString &frequent(int index) const { return m_words[index]; }
    QString identifier()
    {
        const auto words = std::array<std::uint32_t, 4> { draw(), draw(), draw(), draw() };
        const QByteArrayView bytes(reinterpret_cast<const char *>(words.data()), 16);
        return QUuid::fromRfc4122(bytes).toString(QUuid::WithoutBraces);
    }
    QString text(int words)
    {
        QStringList list;
        for (int i = 0; i < words; ++i) {
            const double at = std::uniform_real_distribution<>(0, 1)(m_random);
            list.append(m_words[static_cast<qsizetype>(at * at * static_cast<double>(m_words.size()))]);
        }
        return list.join(u' ');
    }

private:
    std::uint32_t draw() { return static_cast<std::uint32_t>(m_random()); }
    int number(int from, int to) { return std::uniform_int_distribution(from, to)(m_random); }

    std::mt19937 m_random { 1 };
    QStringList m_words;
};

SessionPtr makeSession(const QString &id, Date updated, const QString &prompt)
{
    VantrySession::Init init;
    init.id = id;
    init.terminalType = QStringLiteral("kitty-window");
    init.terminalSessionID = QStringLiteral("unix:/tmp/kitty,1");
    init.projectName = QStringLiteral("project");
    init.cwd = QStringLiteral("/home/user/project");
    init.lastPrompt = prompt.left(200);
    init.lastMessage = prompt.left(400);
    init.pid = 4711;
    init.pidStartTime = 1769850307.25;
    init.lastUpdated = updated;
    init.startedAt = updated;
    auto session = std::make_shared<VantrySession>(std::move(init));
    session->setEndedAt(updated);
    return session;
}

/// The filled store, and a plain connection to the same file.
struct World
{
    World()
    {
        store.queue().sync([this] { store.open(); });
        for (int i = 0; i < sessionCount; ++i) {
            const QString id = vocabulary.identifier();
            const QString prompts = vocabulary.text(promptWords);
            sessions.append(makeSession(id, clock.now() + std::chrono::seconds { i }, prompts));
            store.queue().sync([&] { store.save(*sessions.last()); });
            store.updateSearchIndex(id, prompts, QStringLiteral("Bash Edit Read"), prompts.left(200));
        }
        sqlite3_open(path.toUtf8().constData(), &plain);
    }

    /// As a thin layer would do it: prepare, bind, read everything, finalise.
    template <typename... Values>
    void runPlain(const char *sql, const Values &...values)
    {
        sqlite3_stmt *handle = nullptr;
        sqlite3_prepare_v2(plain, sql, -1, &handle, nullptr);
        const PreparedStatement prepared(handle);
        Statement statement(handle);
        statement.bind(values...);
        while (statement.step() == Statement::Step::Row) {
            for (int column = 0; column < sqlite3_column_count(handle); ++column)
                benchmark::DoNotOptimize(statement.text(column));
        }
    }

    QTemporaryDir folder;
    const QString path { folder.filePath(QStringLiteral("vantry.db")) };
    SystemClock clock;
    NoLog log;
    Vocabulary vocabulary;
    SessionStore store { path, clock, log };
    QList<SessionPtr> sessions;
    sqlite3 *plain { nullptr };
};

World &world()
{
    static World &instance = *new World; // Outlives the benchmarks' static objects.
    return instance;
}

template <typename Call>
void measure(benchmark::State &state, Call call)
{
    world();
    std::vector<double> microseconds;
    int round = 0;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        call(round++);
        const auto end = std::chrono::steady_clock::now();
        microseconds.push_back(std::chrono::duration<double, std::micro>(end - begin).count());
    }
    std::ranges::sort(microseconds);
    state.counters["p50_us"] = microseconds[microseconds.size() / 2];
    state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}

// ---- save, as the main thread waits for it ----

void save(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int round) {
        const VantrySession &session = *w.sessions[round % 20];
        w.store.queue().sync([&] { w.store.save(session); });
    });
}
BENCHMARK(save)->MeasureProcessCPUTime()->Iterations(5000);

/// One commit that waits for the disk, which is SQLite's default.
void savePlain(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int round) {
        const VantrySession &session = *w.sessions[round % 20];
        w.runPlain(
            "INSERT INTO sessions (id, project_dir, project_name, last_prompt, last_message) VALUES (?, ?, ?, ?, ?)"
            " ON CONFLICT(id) DO UPDATE SET project_dir = excluded.project_dir, project_name ="
            " excluded.project_name, last_prompt = excluded.last_prompt, last_message = excluded.last_message",
            session.id(), session.cwd(), session.projectName(), session.lastPrompt(), session.lastMessage());
    });
}
BENCHMARK(savePlain)->MeasureProcessCPUTime()->Iterations(1000);

// ---- search by the first letters of a frequent word; the argument says how many ----

void search(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int round) {
        const QString text = w.vocabulary.frequent(round % 20).left(state.range(0));
        benchmark::DoNotOptimize(w.store.queue().sync([&] { return w.store.search(text, 20); }));
    });
}
BENCHMARK(search)->DenseRange(1, 3)->MeasureProcessCPUTime()->Iterations(400);

void searchPlain(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int round) {
        w.runPlain("SELECT s.*, bm25(session_search) AS rank, session_search.summary FROM session_search"
                   " JOIN sessions s ON s.id = session_search.session_id WHERE session_search MATCH ?"
                   " ORDER BY rank LIMIT 20",
                   w.vocabulary.frequent(round % 20).left(state.range(0)) + u'*');
    });
}
BENCHMARK(searchPlain)->DenseRange(1, 3)->MeasureProcessCPUTime()->Iterations(400);

// ---- the lists ----

void recentSessions(benchmark::State &state)
{
    World &w = world();
    measure(state,
            [&](int) { benchmark::DoNotOptimize(w.store.queue().sync([&] { return w.store.recentSessions(20); })); });
}
BENCHMARK(recentSessions)->MeasureProcessCPUTime()->Iterations(400);

void recentSessionsPlain(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int) {
        w.runPlain("SELECT s.*, ss.summary FROM sessions s LEFT JOIN session_search ss ON ss.session_id = s.id"
                   " ORDER BY s.updated_at DESC LIMIT 20");
    });
}
BENCHMARK(recentSessionsPlain)->MeasureProcessCPUTime()->Iterations(20);

void sessionsNeedingIndex(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int) {
        benchmark::DoNotOptimize(w.store.queue().sync([&] { return w.store.sessionsNeedingIndex(); }));
    });
}
BENCHMARK(sessionsNeedingIndex)->MeasureProcessCPUTime()->Iterations(200);

void sessionsNeedingIndexPlain(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int) {
        w.runPlain("SELECT s.id FROM sessions s LEFT JOIN session_search ss ON ss.session_id = s.id"
                   " WHERE s.ended_at IS NOT NULL AND ss.session_id IS NULL");
    });
}
BENCHMARK(sessionsNeedingIndexPlain)->MeasureProcessCPUTime()->Iterations(1);

// ---- the index, at the end of a session ----

void updateSearchIndex(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int round) {
        const VantrySession &session = *w.sessions[round % sessionCount];
        w.store.updateSearchIndex(session.id(), session.lastPrompt(), std::nullopt, session.lastMessage());
    });
}
BENCHMARK(updateSearchIndex)->MeasureProcessCPUTime()->Iterations(300);

void deleteSearchRowPlain(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int) {
        w.runPlain("DELETE FROM session_search WHERE session_id = ?", QStringLiteral("0f1c5e2a-nobody"));
    });
}
BENCHMARK(deleteSearchRowPlain)->MeasureProcessCPUTime()->Iterations(300);

void pruneNothing(benchmark::State &state)
{
    World &w = world();
    measure(state, [&](int) { w.store.queue().sync([&] { w.store.prune(sessionCount); }); });
}
BENCHMARK(pruneNothing)->MeasureProcessCPUTime()->Iterations(300);

} // namespace

BENCHMARK_MAIN();
