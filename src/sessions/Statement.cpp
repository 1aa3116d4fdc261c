#include "sessions/Statement.h"

namespace vantry {

Statement::~Statement()
{
    if (!m_statement)
        return;
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
}

Statement::Step Statement::step()
{
    if (!m_statement || m_failed)
        return Step::Failed;
    switch (sqlite3_step(m_statement)) {
    case SQLITE_ROW:
        return Step::Row;
    case SQLITE_DONE:
        return Step::Done;
    default:
        m_failed = true;
        return Step::Failed;
    }
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

std::optional<QString> Statement::text(int column) const
{
    if (isNull(column))
        return std::nullopt;
    // In this order: the length is the one of the text that the first call made.
    const auto *utf8 = reinterpret_cast<const char *>(sqlite3_column_text(m_statement, column));
    const int length = sqlite3_column_bytes(m_statement, column);
    return utf8 ? QString::fromUtf8(utf8, length) : QStringLiteral("");
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

std::optional<std::int64_t> Statement::optionalInteger(int column) const
{
    return isNull(column) ? std::nullopt : std::optional(integer(column));
}

double Statement::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

void Statement::bindAt(int index, const QString &value)
{
    const QByteArray utf8 = value.toUtf8();
    check(sqlite3_bind_text64(m_statement, index, utf8.constData(), static_cast<sqlite3_uint64>(utf8.size()),
                              SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::bindAt(int index, std::int64_t value)
{
    check(sqlite3_bind_int64(m_statement, index, value));
}

void Statement::bindAt(int index, double value)
{
    check(sqlite3_bind_double(m_statement, index, value));
}

} // namespace vantry
