#pragma once

#include "sessions/SessionStore.h"

#include <QHash>

#include <gtest/gtest.h>

#include <optional>

namespace vantry::test {

/// A store that keeps what was saved as text and gives back the rows that a test has put into it.
class FakeSessionStore final : public SessionStoring
{
public:
    struct SavedRow
    {
        SessionState state { SessionState::working };
        std::optional<QString> toolName;
        bool isAlive { false };
        Date lastUpdated;
        std::optional<Date> endedAt;
    };
    struct IndexEntry
    {
        std::optional<QString> prompts;
        std::optional<QString> tools;
        std::optional<QString> summary;

        friend bool operator==(const IndexEntry &, const IndexEntry &) = default;
    };

    [[nodiscard]] SerialQueue &queue() override { return m_queue; }

    void open() override { record(QStringLiteral("open")); }
    void close() override { record(QStringLiteral("close")); }
    void save(const VantrySession &session) override
    {
        record(QStringLiteral("save ") + session.id());
        rows[session.id()] = { session.state(), session.toolName(), session.isAlive(), session.lastUpdated(),
                               session.endedAt() };
    }
    [[nodiscard]] QList<SessionPtr> loadAll(std::optional<AgentTool> filter) override
    {
        EXPECT_FALSE(filter.has_value());
        record(QStringLiteral("loadAll"));
        return stored;
    }
    void prune(std::int64_t limit) override { record(QStringLiteral("prune ") + QString::number(limit)); }
    void updateSearchIndex(const QString &id, const std::optional<QString> &prompts,
                           const std::optional<QString> &tools, const std::optional<QString> &summary) override
    {
        EXPECT_FALSE(m_queue.isCurrent()) << "it puts itself on the queue";
        journal.append(QStringLiteral("index ") + id);
        index[id] = { prompts, tools, summary };
    }
    [[nodiscard]] QList<SessionSearchResult> search(const QString &, std::int64_t) override { return {}; }
    [[nodiscard]] QList<SessionSearchResult> recentSessions(std::int64_t) override { return {}; }
    [[nodiscard]] QStringList sessionsNeedingIndex() override
    {
        record(QStringLiteral("sessionsNeedingIndex"));
        return needingIndex;
    }
    void clearSearchIndex() override {}
    [[nodiscard]] QSet<QString> indexedSessionIDs() override { return {}; }
    void insertHistoricalSession(const HistoricalSession &) override {}
    [[nodiscard]] bool hasTakenTranscript(const QString &, const QString &) override { return false; }
    [[nodiscard]] std::optional<std::int64_t> lastSearchRow() override { return std::nullopt; }
    [[nodiscard]] bool clearSearchRows(std::int64_t, std::chrono::nanoseconds) override { return false; }
    [[nodiscard]] std::optional<HistoryProgress> insertHistoricalSessions(std::span<const HistoricalSession>,
                                                                          std::chrono::nanoseconds) override
    {
        return std::nullopt;
    }

    QList<SessionPtr> stored;
    QStringList needingIndex;
    QHash<QString, SavedRow> rows; ///< As last saved.
    QHash<QString, IndexEntry> index;
    QStringList journal; ///< Every call, in order; a test may add what else has an order.

private:
    void record(const QString &call)
    {
        EXPECT_TRUE(m_queue.isCurrent()) << call.toStdString() << " must run on the queue";
        journal.append(call);
    }

    SerialQueue m_queue { "fake store" };
};

} // namespace vantry::test
