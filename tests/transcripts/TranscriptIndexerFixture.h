#pragma once

#include "support/ManualMainQueue.h"
#include "transcripts/TranscriptIndexer.h"
#include "transcripts/TranscriptProjects.h"

#include <gmock/gmock.h>

namespace vantry::test {

inline const QString rebuiltKey = QStringLiteral("transcriptIndexer.reindexV2");
inline const QString rebuildingKey = QStringLiteral("transcriptIndexer.rebuilding");

inline const QString folderName = QStringLiteral("-home-u-app");

/// A scratch home with a store, on which the indexer is run as at starts of the program.
class TranscriptIndexerFixture : public TranscriptProjectsTest
{
protected:
    TranscriptIndexerFixture() { openStore(); }

    void openStore()
    {
        m_store.queue().sync([this] { m_store.open(); });
    }
    void closeStore()
    {
        m_store.queue().sync([this] { m_store.close(); });
    }

    /// As at one start of the program.
    void start(SessionStoring &store)
    {
        WorkerPool workers;
        TranscriptIndexer indexer(home(), m_defaults, m_mainQueue, workers, m_log);
        indexer.onProgress = [this](TranscriptIndexer::Progress progress) { m_progress.append(progress); };
        indexer.backfill(store);
        workers.waitForDone();
        m_mainQueue.drainAll();
    }
    void start() { start(m_store); }

    [[nodiscard]] QSet<QString> indexed()
    {
        return m_store.queue().sync([this] { return m_store.indexedSessionIDs(); });
    }
    [[nodiscard]] QStringList found(const QString &text)
    {
        QStringList ids;
        for (const auto &result : m_store.queue().sync([&] { return m_store.search(text, 1000); }))
            ids.append(result.session->id());
        return ids;
    }
    [[nodiscard]] QList<SessionSearchResult> recent()
    {
        return m_store.queue().sync([this] { return m_store.recentSessions(1000); });
    }
    void saveSession(const QString &id)
    {
        VantrySession::Init init;
        init.id = id;
        init.projectName = QStringLiteral("tracked");
        init.lastUpdated = init.startedAt = m_clock.now();
        const VantrySession session(std::move(init));
        m_store.queue().sync([&] { m_store.save(session); });
    }
    /// As after an earlier start.
    void makeRebuilt() { m_defaults.setBoolean(rebuiltKey, true); }
    [[nodiscard]] bool isRebuilt() const { return m_defaults.boolean(rebuiltKey, false); }
    [[nodiscard]] bool isRebuilding() const { return m_defaults.boolean(rebuildingKey, false); }

    ManualClock m_clock;
    RecordingLog m_log;
    ManualMainQueue m_mainQueue;
    Defaults m_defaults { home() + QStringLiteral("/settings.json"), m_mainQueue, m_log };
    SessionStore m_store { home() + QStringLiteral("/vantry.db"), m_clock, m_log };
    QList<TranscriptIndexer::Progress> m_progress;
};

} // namespace vantry::test
