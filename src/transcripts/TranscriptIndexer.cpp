#include "transcripts/TranscriptIndexer.h"

#include "base/Cancellation.h"
#include "transcripts/HistoricalSessionReader.h"
#include "transcripts/OrderedReading.h"

#include <QFile>

#include <sys/stat.h>

#include <algorithm>
#include <compare>
#include <filesystem>
#include <future>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace vantry {
namespace {

/// Whether the index has been rebuilt from the transcripts in its present form; another form takes another key.
const QString rebuiltKey = QStringLiteral("transcriptIndexer.reindexV2");
/// While that is going on. A rebuild that was interrupted begins again: until it is complete, sessions that ended
/// earlier lack their entries, and the session manager makes do with what little their rows tell.
const QString rebuildingKey = QStringLiteral("transcriptIndexer.rebuilding");

constexpr std::string_view extension = ".jsonl";
/// For one piece of work on the store's queue. Its commit takes about as long once more.
constexpr std::chrono::milliseconds pieceBudget { 1 };
/// What waits to be written is held in memory; beyond this, in code units, reading waits for the store.
constexpr qsizetype mostGathered = 256 * 1024;

/// Runs the task on the queue's own thread: this one's priority is low, and nobody shall wait for the queue because of
/// that.
template <typename Function>
auto runOn(SerialQueue &queue, Function &&function) -> std::invoke_result_t<Function>
{
    // Shared with the task, which may still be about to leave set_value() when the result is there.
    const auto result = std::make_shared<std::promise<std::invoke_result_t<Function>>>();
    queue.async([result, &function] { result->set_value(function()); });
    return result->get_future().get();
}

/// Adds sessions to the store, piece by piece on its queue, while the next ones are read.
class HistoryWriter
{
public:
    explicit HistoryWriter(SessionStoring &store)
        : m_store(store)
    {}

    void add(HistoricalSession session)
    {
        m_gatheredSize += session.prompts.size() + session.toolHistory.size();
        m_gathered.push_back(std::move(session));
        if (!isWriting() || m_gatheredSize >= mostGathered)
            startWriting();
    }

    /// Writes what is left.
    void finish()
    {
        startWriting();
        wait();
    }

    /// Whether the store has turned out to take nothing.
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }
    /// How many sessions have got a search row.
    [[nodiscard]] std::size_t added() const { return m_added; }

private:
    /// What is being written. Its tasks on the queue follow one another, so others come in between.
    struct Batch
    {
        std::vector<HistoricalSession> sessions;
        HistoryProgress progress;
        bool hasFailed { false };
        std::promise<void> end;
    };

    static void writeNext(SessionStoring &store, const std::shared_ptr<Batch> &batch)
    {
        store.queue().async([&store, batch] {
            const auto rest = std::span(batch->sessions).subspan(batch->progress.taken);
            const auto progress = store.insertHistoricalSessions(rest, pieceBudget);
            batch->hasFailed = !progress;
            if (progress) {
                batch->progress.taken += progress->taken;
                batch->progress.added += progress->added;
            }
            if (progress && batch->progress.taken < batch->sessions.size())
                writeNext(store, batch);
            else
                batch->end.set_value();
        });
    }

    [[nodiscard]] bool isWriting() const
    {
        return m_end.valid() && m_end.wait_for(std::chrono::seconds::zero()) != std::future_status::ready;
    }

    void startWriting()
    {
        wait();
        if (m_gathered.empty() || m_hasFailed)
            return;
        m_batch = std::make_shared<Batch>();
        m_batch->sessions = std::exchange(m_gathered, {});
        m_gatheredSize = 0;
        m_end = m_batch->end.get_future();
        writeNext(m_store, m_batch);
    }

    void wait()
    {
        if (!m_batch)
            return;
        m_end.get();
        m_added += m_batch->progress.added;
        m_hasFailed = m_batch->hasFailed;
        m_batch.reset();
    }

    SessionStoring &m_store;
    std::vector<HistoricalSession> m_gathered;
    qsizetype m_gatheredSize { 0 };
    std::shared_ptr<Batch> m_batch; ///< Null when nothing is being written.
    std::future<void> m_end;        ///< Of the batch.
    std::size_t m_added { 0 };
    bool m_hasFailed { false };
};

/// The names in a folder, in no order; nothing when it can't be listed.
std::optional<std::vector<std::string>> entriesOf(const std::string &folder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        names.push_back(entry->path().filename().native());
    return error ? std::nullopt : std::optional(std::move(names));
}

/// A transcript that is to be read.
struct Candidate
{
    std::size_t folder; ///< Index of the project's folder.
    QString id;
    std::pair<std::int64_t, std::int64_t> modified; ///< Seconds, nanoseconds.
    std::int64_t size;

    /// Another whenever the file has changed.
    [[nodiscard]] QString stamp() const
    {
        return QStringLiteral("%1.%2 %3").arg(modified.first).arg(modified.second, 9, 10, QChar(u'0')).arg(size);
    }
};

} // namespace

/// What runs tell, on the main thread.
class TranscriptIndexer::MainSide
{
public:
    explicit MainSide(TranscriptIndexer &owner)
        : m_owner(owner)
    {}

    [[nodiscard]] bool needsRebuild() const
    {
        return !m_owner.m_defaults.boolean(rebuiltKey, false) || m_owner.m_defaults.boolean(rebuildingKey, false);
    }
    void indexWasCleared()
    {
        // In this order, so that the file never tells that all is done.
        m_owner.m_defaults.setBoolean(rebuildingKey, true);
        m_owner.m_defaults.setBoolean(rebuiltKey, true);
    }
    void rebuildIsComplete() { m_owner.m_defaults.remove(rebuildingKey); }
    void progressed(Progress progress)
    {
        if (m_owner.onProgress)
            m_owner.onProgress(progress);
    }

private:
    TranscriptIndexer &m_owner;
};

/// One backfill, on a thread of the pool and one of its own.
class TranscriptIndexer::Run
{
public:
    Run(const TranscriptIndexer &indexer, SessionStoring &store)
        : m_projects(indexer.m_projects)
        , m_isRebuild(indexer.m_mainSide->needsRebuild())
        , m_store(store)
        , m_mainQueue(indexer.m_mainQueue)
        , m_log(indexer.m_log)
        , m_mainSide(indexer.m_mainSide)
        , m_writer(store)
    {}

    void run()
    {
        const std::string root = QFile::encodeName(m_projects).toStdString();
        std::error_code ignored;
        if (!std::filesystem::exists(root, ignored))
            return;
        if (m_isRebuild) {
            clearIndex();
            if (Cancellation::isThisThreadCancelled())
                return;
            post([](MainSide &main) { main.indexWasCleared(); });
        }
        if (!findCandidates(root))
            return;
        const bool isComplete = readCandidates();
        if (m_writer.added() > 0) {
            m_log.write(QStringLiteral("TranscriptIndexer: backfilled %1 sessions from transcript files")
                            .arg(m_writer.added()));
        }
        if (isComplete && m_isRebuild)
            post([](MainSide &main) { main.rebuildIsComplete(); });
    }

private:
    void post(std::function<void(MainSide &)> function)
    {
        m_mainQueue.post([mainSide = m_mainSide, function = std::move(function)] {
            if (const auto main = mainSide.lock())
                function(*main);
        });
    }

    /// Rows that are added meanwhile stay.
    void clearIndex()
    {
        const auto last = runOn(m_store.queue(), [this] { return m_store.lastSearchRow(); }).value_or(0);
        bool isLeft = true;
        while (isLeft && !Cancellation::isThisThreadCancelled())
            isLeft = runOn(m_store.queue(), [&] { return m_store.clearSearchRows(last, pieceBudget); });
    }

    /// False when the projects can't be listed, and when the work has been cancelled.
    bool findCandidates(const std::string &root)
    {
        auto folders = entriesOf(root);
        if (!folders)
            return false;
        const QSet<QString> indexed = runOn(m_store.queue(), [this] { return m_store.indexedSessionIDs(); });
        for (const std::string &name : *folders) {
            const std::string folder = root + '/' + name + '/';
            const auto files = entriesOf(folder);
            if (!files)
                continue;
            m_folders.push_back(QFile::decodeName(name.c_str()));
            for (const std::string &file : *files) {
                if (Cancellation::isThisThreadCancelled())
                    return false;
                if (file.ends_with(extension))
                    addCandidate(folder + file, file, indexed);
            }
        }
        // The newest first: it is looked for the most, and of two transcripts of one session it tells more.
        std::ranges::sort(m_candidates, std::greater(), &Candidate::modified);
        return true;
    }

    void addCandidate(const std::string &path, std::string_view file, const QSet<QString> &indexed)
    {
        file.remove_suffix(extension.size());
        QString id = QFile::decodeName(std::string(file).c_str());
        struct stat status
        {};
        if (indexed.contains(id) || ::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
            return;
        Candidate candidate {
            m_folders.size() - 1, std::move(id), { status.st_mtim.tv_sec, status.st_mtim.tv_nsec }, status.st_size
        };
        if (!wasTaken(candidate))
            m_candidates.push_back(std::move(candidate));
    }

    /// Whether its session was indexed from the file as it is, and has been pruned since. Added again, it would only be
    /// pruned again, at every start.
    [[nodiscard]] bool wasTaken(const Candidate &candidate)
    {
        return runOn(m_store.queue(),
                     [&] { return m_store.hasTakenTranscript(placeOf(candidate).path(), candidate.stamp()); });
    }

    [[nodiscard]] TranscriptPlace placeOf(const Candidate &candidate) const
    {
        return { m_projects, m_folders[candidate.folder], candidate.id };
    }

    /// False when not all could be read and written.
    bool readCandidates()
    {
        const std::size_t total = m_candidates.size();
        const auto isInVain = [this] { return m_writer.hasFailed() || Cancellation::isThisThreadCancelled(); };
        const auto read = [this](std::size_t i, TranscriptBuffer &buffer) {
            auto session = readHistoricalSession(placeOf(m_candidates[i]), buffer);
            if (session)
                session->transcriptStamp = m_candidates[i].stamp();
            return session;
        };
        const auto take = [&](std::size_t i, std::optional<HistoricalSession> session) {
            if (session)
                m_writer.add(*std::move(session));
            if (isInVain())
                return false;
            // That all is done is told once the last one has been written.
            if (i + 1 < total)
                tellProgress(i + 1);
            return true;
        };
        tellProgress(0);
        OrderedReading(total, read, take).run();
        m_writer.finish();
        if (isInVain())
            return false;
        tellProgress(total);
        return true;
    }

    void tellProgress(std::size_t done)
    {
        const std::size_t total = m_candidates.size();
        const std::size_t percent = total > 0 ? 100 * done / total : 0;
        if (total == 0 || m_toldPercent == percent)
            return;
        m_toldPercent = percent;
        const Progress progress { static_cast<qsizetype>(done), static_cast<qsizetype>(total) };
        post([progress](MainSide &main) { main.progressed(progress); });
    }

    const QString m_projects;
    const bool m_isRebuild;
    SessionStoring &m_store;
    MainQueue &m_mainQueue;
    Log &m_log;
    const std::weak_ptr<MainSide> m_mainSide;
    HistoryWriter m_writer;
    std::vector<QString> m_folders;
    std::vector<Candidate> m_candidates;
    std::optional<std::size_t> m_toldPercent;
};

TranscriptIndexer::TranscriptIndexer(const QString &home, Defaults &defaults, MainQueue &mainQueue, WorkerPool &workers,
                                     Log &log)
    : m_projects(home + QStringLiteral("/.claude/projects"))
    , m_defaults(defaults)
    , m_mainQueue(mainQueue)
    , m_workers(workers)
    , m_log(log)
    , m_mainSide(std::make_shared<MainSide>(*this))
{}

TranscriptIndexer::~TranscriptIndexer() = default;

void TranscriptIndexer::backfill(SessionStoring &store)
{
    m_workers.run([run = std::make_shared<Run>(*this, store)] { run->run(); });
}

} // namespace vantry
