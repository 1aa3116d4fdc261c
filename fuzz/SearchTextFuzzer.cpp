#include "sessions/SearchText.h"
#include "sessions/SessionSql.h"
#include "sessions/Statement.h"

#include <cstdint>
#include <cstdlib>
#include <optional>

namespace {

using namespace vantry;
using Step = Statement::Step;

/// What holds for any text must hold; a broken rule ends the run, and libFuzzer keeps the text.
void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A search table like the store's, in memory, with a few rows.
class SearchTable
{
public:
    SearchTable()
    {
        require(sqlite3_open(":memory:", &m_database) == SQLITE_OK);
        require(sqlite3_exec(m_database, sql::createSearch, nullptr, nullptr, nullptr) == SQLITE_OK);
        require(sqlite3_exec(m_database,
                             "INSERT INTO session_search (session_id, prompts) VALUES ('a', 'one two main.rs'),"
                             " ('b', 'it''s AND or not near 日本 🙂'), (NULL, NULL)",
                             nullptr, nullptr, nullptr) == SQLITE_OK);
        m_search = prepare(sql::searchMatches);
        m_insert = prepare("INSERT INTO session_search (session_id) VALUES (?)");
        m_find = prepare(sql::searchRowsByMatch);
        m_delete = prepare("DELETE FROM session_search WHERE rowid = ?");
    }

    /// Steps through all that matches.
    void search(const QString &expression)
    {
        Statement matches(m_search.get());
        matches.bind(expression);
        Step step;
        while ((step = matches.step()) == Step::Row)
            ;
        require(step == Step::Done);
    }

    /// Adds a row of this identifier, looks for it, and removes it again. Gives back whether it was found.
    bool findsOwn(const QString &id, const QString &expression)
    {
        require(Statement(m_insert.get()).bind(id).run());
        const std::int64_t added = sqlite3_last_insert_rowid(m_database);
        bool found = false;
        {
            Statement rows(m_find.get());
            rows.bind(expression, id);
            Step step;
            while ((step = rows.step()) == Step::Row)
                found = found || rows.integer(0) == added;
            require(step == Step::Done);
        }
        require(Statement(m_delete.get()).bind(added).run());
        return found;
    }

private:
    PreparedStatement prepare(const char *sql)
    {
        sqlite3_stmt *statement = nullptr;
        require(sqlite3_prepare_v2(m_database, sql, -1, &statement, nullptr) == SQLITE_OK);
        return PreparedStatement(statement);
    }

    sqlite3 *m_database { nullptr };
    PreparedStatement m_search;
    PreparedStatement m_insert;
    PreparedStatement m_find;
    PreparedStatement m_delete;
};

void check(SearchTable &table, const QString &text)
{
    if (const QString expression = matchExpression(text); !expression.isEmpty())
        table.search(expression);
    if (const std::optional<QString> expression = identifierExpression(text))
        require(table.findsOwn(text, *expression));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static SearchTable &table = *new SearchTable; // Lives as long as the process.
    const auto length = static_cast<qsizetype>(size);
    check(table, QString::fromUtf8(reinterpret_cast<const char *>(data), length));
    // The same bytes as UTF-16, in which halves of surrogate pairs may stand alone.
    QString utf16(length / 2, Qt::Uninitialized);
    for (qsizetype i = 0; i < utf16.size(); ++i)
        utf16[i] = QChar(static_cast<char16_t>(data[2 * i] | data[2 * i + 1] << 8));
    check(table, utf16);
    return 0;
}
