#pragma once

#include "app/control/Console.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringView>

#include <string>

namespace vantry {

// Text for a terminal: widths, cutting, colours, aligned columns. Pure functions.

/// Text from outside as one line that can't steer the terminal: runs of whitespace become one blank, control characters
/// are escaped, characters that turn the writing direction are left out.
[[nodiscard]] QString displayText(const QString &text);
/// How many columns the text takes: roughly, as terminals count. Wide characters and emoji take two.
[[nodiscard]] int displayWidth(QStringView text);
/// The text cut to so many columns, with "…" at its end if something was left out.
[[nodiscard]] QString cutToWidth(const QString &text, int width);

enum class Paint { Plain, Strong, Faint, Urgent, Question, Busy, Good };

/// The text between the terminal's codes for this look; the text alone where colours are off.
[[nodiscard]] QString painted(const QString &text, Paint paint, const TextStyle &style);

/// Rows in aligned columns with two blanks between them. In a terminal each row stays on one line: the last column is
/// cut to what is left, and left out where that is too little to read.
class TextTable
{
public:
    struct Cell
    {
        QString text; ///< Without control characters.
        Paint paint { Paint::Plain };
    };
    using Row = QList<Cell>;

    /// The widest that a column but the last gets. 0: as wide as its text.
    void setMaximumWidth(int column, int width) { m_maximumWidths.insert(column, width); }
    void addRow(Row row) { m_rows.append(std::move(row)); }

    [[nodiscard]] QString render(const TextStyle &style) const;

private:
    [[nodiscard]] QList<int> columnWidths() const;

    QList<Row> m_rows;
    QHash<int, int> m_maximumWidths;
};

} // namespace vantry
