#pragma once

#include "base/DebugLog.h"
#include "base/Defaults.h"
#include "base/MainQueue.h"
#include "base/WorkerPool.h"
#include "sessions/SessionStore.h"

#include <QString>

#include <functional>
#include <memory>

namespace vantry {

/// Fills the search index from transcripts that agents wrote while nobody watched. One run at each start, on a thread
/// of the pool; sessions that are indexed already cost nothing. Main thread only.
class TranscriptIndexer
{
public:
    /// So many of the transcripts that were to be read are done with.
    struct Progress
    {
        qsizetype done { 0 };
        qsizetype total { 0 };

        friend bool operator==(const Progress &, const Progress &) = default;
    };

    /// `home` is the user's home directory. The main queue and the log must outlive the pool, the defaults and the pool
    /// this.
    TranscriptIndexer(const QString &home, Defaults &defaults, MainQueue &mainQueue, WorkerPool &workers, Log &log);
    ~TranscriptIndexer();
    TranscriptIndexer(const TranscriptIndexer &) = delete;
    TranscriptIndexer &operator=(const TranscriptIndexer &) = delete;

    /// Starts the run and returns at once. The store must outlive the pool. What has not been read when the pool ends
    /// or the store is closed is left to the next start.
    void backfill(SessionStoring &store);

    /// Called on the main thread when a run that has anything to read begins, now and then, and when it is complete:
    /// about a hundred times, however many transcripts there are.
    std::function<void(Progress)> onProgress;

private:
    class Run;
    class MainSide;

    const QString m_projects; ///< The folder of all projects.
    Defaults &m_defaults;
    MainQueue &m_mainQueue;
    WorkerPool &m_workers;
    Log &m_log;
    std::shared_ptr<MainSide> m_mainSide; ///< What runs post back holds this weakly.
};

} // namespace vantry
