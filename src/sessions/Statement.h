#pragma once

#include <QString>

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace vantry {

struct StatementFinalizer
{
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
};
/// A prepared statement that is kept for many uses.
using PreparedStatement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// One use of a prepared statement: values are bound, rows are stepped through and read. At its end the statement is
/// reset and its values are let go, so that it holds neither a lock nor memory, whatever went wrong. Doesn't own the
/// statement. One use at a time, on the connection's thread.
class Statement
{
public:
    enum class Step { Row, Done, Failed };

    /// Null stands for a statement that couldn't be prepared: it is not valid, and does nothing.
    explicit Statement(sqlite3_stmt *prepared)
        : m_statement(prepared)
    {}
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    [[nodiscard]] bool isValid() const { return m_statement != nullptr; }

    /// Binds the values to the statement's parameters from the first. An absent value is NULL. Texts are copied.
    template <typename... Values>
    Statement &bind(const Values &...values)
    {
        int index = 0;
        (bindAt(++index, values), ...);
        return *this;
    }

    /// The next row, if there is one. Failed also when a value couldn't be bound.
    [[nodiscard]] Step step();
    /// Runs a statement that gives no rows. False when that failed.
    [[nodiscard]] bool run() { return step() == Step::Done; }

    // The current row's columns, counted from 0.
    [[nodiscard]] bool isNull(int column) const;
    /// Nothing for NULL; every other kind of value as text, NUL characters included.
    [[nodiscard]] std::optional<QString> text(int column) const;
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] std::optional<std::int64_t> optionalInteger(int column) const;
    [[nodiscard]] double real(int column) const;

private:
    void bindAt(int index, const QString &value);
    void bindAt(int index, std::int64_t value);
    void bindAt(int index, double value);
    template <typename Value>
    void bindAt(int index, const std::optional<Value> &value)
    {
        if (value)
            bindAt(index, *value);
        else
            check(sqlite3_bind_null(m_statement, index));
    }
    void check(int result) { m_failed = m_failed || result != SQLITE_OK; }

    sqlite3_stmt *m_statement;
    bool m_failed { false };
};

} // namespace vantry
