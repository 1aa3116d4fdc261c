#include "StoreFixture.h"

#include "sessions/SearchText.h"

#include <QFileInfo>

#include <algorithm>
#include <random>

namespace vantry::test {
namespace {

// The store's statements are written for speed. Here they are held against the plain ones that say what is meant, on
// random tables with search rows that have no session, doubled ones, NULLs and odd identifiers.

constexpr char plainSearch[] =
    "SELECT s.id, bm25(session_search) AS rank, session_search.summary FROM session_search JOIN sessions s"
    " ON s.id = session_search.session_id WHERE session_search MATCH ? ORDER BY rank LIMIT ?";
constexpr char plainRecent[] = "SELECT s.id, '0.0', ss.summary FROM sessions s LEFT JOIN session_search ss"
                               " ON ss.session_id = s.id ORDER BY s.updated_at DESC LIMIT ?";
constexpr char plainNeedingIndex[] = "SELECT s.id FROM sessions s LEFT JOIN session_search ss ON ss.session_id = s.id"
                                     " WHERE s.ended_at IS NOT NULL AND ss.session_id IS NULL";
constexpr char plainPruneSearch[] = "DELETE FROM session_search WHERE session_id IN"
                                    " (SELECT id FROM sessions ORDER BY updated_at DESC LIMIT -1 OFFSET ?)";
constexpr char plainPruneSessions[] =
    "DELETE FROM sessions WHERE id NOT IN (SELECT id FROM sessions ORDER BY updated_at DESC LIMIT ?)";
constexpr char plainProject[] = "SELECT project_name, project_dir, git_branch FROM sessions WHERE id = ?";
constexpr char plainDelete[] = "DELETE FROM session_search WHERE session_id = ?";
constexpr char plainInsert[] = "INSERT INTO session_search(session_id, project_name, project_dir, git_branch, prompts,"
                               " tool_history, summary) VALUES (?, ?, ?, ?, ?, ?, ?)";

using Rows = std::vector<Database::Row>;

Rows rowsOf(const QList<SessionSearchResult> &results)
{
    Rows rows;
    for (const SessionSearchResult &result : results) {
        // As SQLite writes a double.
        char rank[64];
        sqlite3_snprintf(sizeof rank, rank, "%!.15g", result.rank);
        const QString id = result.session->id();
        rows.push_back({ id == u"unknown" ? "NULL" : id.toStdString(), rank,
                         result.snippet ? result.snippet->toStdString() : "NULL" });
    }
    return rows;
}

std::vector<std::string> column(const Rows &rows, std::size_t index)
{
    std::vector<std::string> values;
    for (const Database::Row &row : rows)
        values.push_back(row[index]);
    return values;
}

class SessionStoreEquivalence : public StoreTest, public ::testing::WithParamInterface<unsigned>
{
protected:
    std::mt19937 m_random { GetParam() };
    const QString m_plainPath { m_folder.filePath(QStringLiteral("plain.db")) };

    int number(int below) { return std::uniform_int_distribution(0, below - 1)(m_random); }

    template <typename T>
    T oneOf(const std::vector<T> &values)
    {
        return values[static_cast<std::size_t>(number(static_cast<int>(values.size())))];
    }

    std::optional<QString> identifier()
    {
        static const std::vector<std::optional<QString>> odd {
            std::nullopt,
            QString(),
            QStringLiteral(" "),
            QStringLiteral("/"),
            QStringLiteral("'"),
            QStringLiteral("\""),
            QStringLiteral("\"\""),
            QStringLiteral("AND"),
            QStringLiteral("a"),
            QStringLiteral("A"),
            QStringLiteral("a b"),
            QStringLiteral("a-b"),
            QStringLiteral("b a"),
            QStringLiteral("ab"),
            QStringLiteral("a\"b"),
            QStringLiteral("é"),
            QStringLiteral("e"),
            QStringLiteral("🙂"),
            QStringLiteral("日本"),
            QStringLiteral("x*"),
            QStringLiteral("NEAR(a b)"),
            QStringLiteral("session_id : a"),
            QStringLiteral("a\tb"),
            QStringLiteral("5"),
            QStringLiteral("5.0"),
            QStringLiteral("a") + QChar(u'\0') + QStringLiteral("b"),
            QString(33'000, u'l'),
            QString(33'001, u'l'),
            QStringLiteral("w ").repeated(300),
        };
        if (number(3) == 0)
            return oneOf(odd);
        return QStringLiteral("%1f1c5e2-77aa-4b3d-9c00-0000000000%2").arg(number(3)).arg(number(20));
    }

    std::optional<QString> words()
    {
        static const std::vector<QString> vocabulary {
            QStringLiteral("parser"), QStringLiteral("part"),       QStringLiteral("fix"),  QStringLiteral("main.rs"),
            QStringLiteral("it's"),   QStringLiteral("AND"),        QStringLiteral("a"),    QStringLiteral("grün"),
            QStringLiteral("日本語"), QStringLiteral("well-known"), QStringLiteral("🙂"),
        };
        if (number(8) == 0)
            return std::nullopt;
        QString text;
        for (int count = number(6); count >= 0; --count)
            text += oneOf(vocabulary) + u' ';
        return text;
    }

    std::optional<QString> date() { return QStringLiteral("2026-01-%1T00:00:00.000Z").arg(number(12) + 10); }

    /// The same random rows in both databases, some of them such as the store itself would never write.
    void fill(Database &database, Database &plain)
    {
        const auto both = [&](const std::string &sql, const std::vector<std::optional<QString>> &values) {
            database.run(sql, values);
            plain.run(sql, values);
        };
        for (int count = number(60); count > 0; --count) {
            const auto ended = number(2) == 0 ? date() : std::nullopt;
            both("INSERT OR IGNORE INTO sessions (id, project_name, git_branch, updated_at, ended_at, created_at)"
                 " VALUES (?, ?, ?, ?, ?, '')",
                 { identifier(), words(), words(), date(), ended });
        }
        for (int count = number(60); count > 0; --count)
            both("INSERT INTO session_search (session_id, project_name, prompts, summary) VALUES (?, ?, ?, ?)",
                 { identifier(), words(), words(), words() });
        if (number(2) == 0)
            both("INSERT INTO session_search (session_id, prompts) VALUES (5, 'part'), (x'61', 'part')", {});
    }

    static void expectEqual(Database &database, Database &plain)
    {
        for (const char *sql :
             { "SELECT * FROM sessions ORDER BY rowid", "SELECT rowid, * FROM session_search ORDER BY rowid" })
            EXPECT_EQ(database.run(sql), plain.run(sql));
        database.script("INSERT INTO session_search(session_search) VALUES('integrity-check')");
    }

    void compareReads(Database &plain);
    void compareSearch(Database &plain);
    void comparePrune(Database &plain);
    void compareUpdate(Database &plain);
};

void SessionStoreEquivalence::compareReads(Database &plain)
{
    const int limit = number(70);
    EXPECT_EQ(rowsOf(recentSessions(limit)), plain.run(plainRecent, { QString::number(limit) })) << limit;

    std::vector<std::string> needing = column(plain.run(plainNeedingIndex), 0);
    std::erase(needing, "NULL");
    std::vector<std::string> found;
    for (const QString &id : sessionsNeedingIndex())
        found.push_back(id.toStdString());
    EXPECT_THAT(found, ::testing::UnorderedElementsAreArray(needing));
}

void SessionStoreEquivalence::compareSearch(Database &plain)
{
    const QString text = number(6) == 0 ? identifier().value_or(QString()) : words().value_or(QString()).left(8);
    const QString expression = matchExpression(text);
    const int limit = number(30);
    const Rows found = rowsOf(search(text, limit));
    if (expression.isEmpty()) {
        EXPECT_TRUE(found.empty());
        return;
    }
    const Rows expected = plain.run(plainSearch, { expression, QString::number(limit) });
    const Rows all = plain.run(plainSearch, { expression, QStringLiteral("-1") });

    // Of equally good ones any may come first, and at the cut any may stay.
    EXPECT_EQ(column(found, 1), column(expected, 1)) << text.toStdString() << ", " << limit;
    Rows sortedFound = found;
    Rows sortedAll = all;
    std::ranges::sort(sortedFound);
    std::ranges::sort(sortedAll);
    EXPECT_TRUE(std::ranges::includes(sortedAll, sortedFound)) << text.toStdString() << ", " << limit;
}

void SessionStoreEquivalence::comparePrune(Database &plain)
{
    const int limit = number(40);
    prune(limit);
    plain.run(plainPruneSearch, { QString::number(limit) });
    plain.run(plainPruneSessions, { QString::number(limit) });
}

void SessionStoreEquivalence::compareUpdate(Database &plain)
{
    const QString id = identifier().value_or(QString());
    const auto prompts = words();
    const auto tools = words();
    const auto summary = words();
    m_store.updateSearchIndex(id, prompts, tools, summary);

    const Rows project = plain.run(plainProject, { id });
    if (project.empty())
        return;
    plain.run(plainDelete, { id });
    const auto field = [&](std::size_t index) {
        const std::string &value = project[0][index];
        return value == "NULL" ? std::nullopt : std::optional(QString::fromStdString(value));
    };
    plain.run(plainInsert, { id, field(0), field(1), field(2), prompts, tools, summary });
}

TEST_P(SessionStoreEquivalence, givesTheRowsOfThePlainStatements)
{
    open();
    vantry::SessionStore schemaOfPlain(m_plainPath, m_clock, m_log);
    open(schemaOfPlain);
    Database database(m_path);
    Database plain(m_plainPath);

    for (int round = 0; round < 3; ++round) {
        fill(database, plain);
        for (int step = 0; step < 10; ++step) {
            compareReads(plain);
            compareSearch(plain);
            if (number(6) == 0)
                comparePrune(plain);
            compareUpdate(plain);
            expectEqual(database, plain);
            if (HasFailure())
                return;
        }
    }
    EXPECT_THAT(m_log.lines(), ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Seeds, SessionStoreEquivalence, ::testing::Range(1u, 9u));

} // namespace
} // namespace vantry::test
