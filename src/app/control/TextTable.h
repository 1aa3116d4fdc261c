#pragma once

#include "app/control/Console.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <string>

namespace vantry {

// Text for a terminal: widths, cutting, colours, aligned columns. Pure functions.

/// Text from outside as one line that can't steer the terminal: runs of whitespace become one blank, control characters
/// are escaped, characters that turn the writing direction are left out.
[[nodiscard]] QString displayText(const QString &text);
/// The same for a text of several lines: its lines as they stand, blanks at their fronts included.
[[nodiscard]] QStringList displayLines(const QString &text);
/// How many columns the text takes: roughly, as terminals count. Wide characters and emoji take two.
[[nodiscard]] int displayWidth(QStringView text);
/// The text cut to so many columns, with "…" at its end if something was left out.
[[nodiscard]] QString cutToWidth(const QString &text, int width);

enum class Paint { Plain, Strong, Faint, Urgent, Question, Busy, Good };

/// The text between the terminal's codes for this look; the text alone where colours are off.
[[nodiscard]] QString painted(const QString &text, Paint paint, const TextStyle &style);

/// Rows in aligned columns with two blanks between them. In a terminal each row stays on one line: columns with a limit
/// become narrower, and the last one is cut to what is left, or left out where that is too little to read.
class TextTable
{
public:
    struct Cell
    {
        QString text; ///< Without control characters.
        Paint paint { Paint::Plain };
    };
    using Row = QList<Cell>;

    /// The widest that a column but the last gets, and how narrow it may become in a narrow terminal. The columns give
    /// way in the order in which their limits are set.
    void setLimits(int column, int widest, int narrowest) { m_limits.append({ column, widest, narrowest }); }
    void addRow(Row row) { m_rows.append(std::move(row)); }

    [[nodiscard]] QString render(const TextStyle &style) const;

private:
    struct Limits
    {
        int column;
        int widest;
        int narrowest;
    };

    [[nodiscard]] QList<int> columnWidths() const;
    void fitInto(int columns, QList<int> &widths) const;

    QList<Row> m_rows;
    QList<Limits> m_limits;
};

} // namespace vantry
