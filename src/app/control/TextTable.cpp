#include "app/control/TextTable.h"

#include "base/Text.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>
#include <iterator>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

struct CodePointRange
{
    char32_t first;
    char32_t last;
};

/// What terminals draw in two columns: East Asian wide and full-width characters, and emoji.
constexpr std::array wideRanges {
    CodePointRange { 0x1100, 0x115F },   CodePointRange { 0x231A, 0x231B },   CodePointRange { 0x23E9, 0x23EC },
    CodePointRange { 0x25FD, 0x25FE },   CodePointRange { 0x2614, 0x2615 },   CodePointRange { 0x2648, 0x2653 },
    CodePointRange { 0x26AA, 0x26AB },   CodePointRange { 0x26BD, 0x26BE },   CodePointRange { 0x2705, 0x2705 },
    CodePointRange { 0x270A, 0x270B },   CodePointRange { 0x2728, 0x2728 },   CodePointRange { 0x274C, 0x274C },
    CodePointRange { 0x2753, 0x2755 },   CodePointRange { 0x2757, 0x2757 },   CodePointRange { 0x2795, 0x2797 },
    CodePointRange { 0x2B1B, 0x2B1C },   CodePointRange { 0x2B50, 0x2B50 },   CodePointRange { 0x2E80, 0x303E },
    CodePointRange { 0x3041, 0x33FF },   CodePointRange { 0x3400, 0x4DBF },   CodePointRange { 0x4E00, 0x9FFF },
    CodePointRange { 0xA000, 0xA4CF },   CodePointRange { 0xA960, 0xA97F },   CodePointRange { 0xAC00, 0xD7A3 },
    CodePointRange { 0xF900, 0xFAFF },   CodePointRange { 0xFE30, 0xFE6F },   CodePointRange { 0xFF00, 0xFF60 },
    CodePointRange { 0xFFE0, 0xFFE6 },   CodePointRange { 0x1F300, 0x1F64F }, CodePointRange { 0x1F680, 0x1F6FF },
    CodePointRange { 0x1F7E0, 0x1F7EB }, CodePointRange { 0x1F900, 0x1F9FF }, CodePointRange { 0x1FA70, 0x1FAFF },
    CodePointRange { 0x20000, 0x3FFFD },
};

bool isWide(char32_t c)
{
    const auto *range = std::ranges::lower_bound(wideRanges, c, {}, &CodePointRange::last);
    return range != wideRanges.end() && range->first <= c;
}

int widthOf(char32_t c)
{
    switch (QChar::category(c)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
    case QChar::Other_Control:
        return 0;
    default:
        return isWide(c) ? 2 : 1;
    }
}

/// One user-perceived character takes as much as its widest part: an emoji built of several is drawn as one.
int clusterWidth(QStringView cluster)
{
    int width = 0;
    for (const char32_t c : cluster.toUcs4())
        width = std::max(width, widthOf(c));
    return width;
}

/// Calls `take(cluster)` for each user-perceived character until it gives false.
template <typename Take>
void forEachCluster(QStringView text, Take take)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype start = 0;
    while (start < text.size()) {
        const qsizetype end = finder.toNextBoundary();
        if (end <= start || !take(text.sliced(start, end - start)))
            return;
        start = end;
    }
}

bool turnsDirection(QChar c)
{
    const char16_t u = c.unicode();
    return u == 0x061C || u == 0x200E || u == 0x200F || (u >= 0x202A && u <= 0x202E) || (u >= 0x2066 && u <= 0x2069);
}

QString harmless(QString line)
{
    line.removeIf(turnsDirection);
    return QString::fromStdString(escapeControlCharacters(line.toStdString()));
}

const char *codesOf(Paint paint)
{
    switch (paint) {
    case Paint::Plain:
        return "";
    case Paint::Strong:
        return "1";
    case Paint::Faint:
        return "2";
    case Paint::Urgent:
        return "1;33";
    case Paint::Question:
        return "1;35";
    case Paint::Busy:
        return "36";
    case Paint::Good:
        return "32";
    }
    return "";
}

constexpr int columnGap = 2;
constexpr int leastLastColumn = 12;
constexpr int usefulLastColumn = 24;

} // namespace

QString displayText(const QString &text)
{
    return harmless(text.simplified());
}

QStringList displayLines(const QString &text)
{
    QStringList lines;
    for (QString line : text.split(u'\n')) {
        if (line.endsWith(u'\r'))
            line.chop(1);
        line.replace(u'\t', u"    "_s);
        lines.append(harmless(std::move(line)));
    }
    return lines;
}

int displayWidth(QStringView text)
{
    int width = 0;
    forEachCluster(text, [&](QStringView cluster) {
        width += clusterWidth(cluster);
        return true;
    });
    return width;
}

QString cutToWidth(const QString &text, int width)
{
    // Room for the "…" is needed only if the whole text has none.
    int taken = 0;
    qsizetype length = 0;
    qsizetype lengthBesideEllipsis = 0;
    forEachCluster(text, [&](QStringView cluster) {
        taken += clusterWidth(cluster);
        if (taken > width)
            return false;
        length += cluster.size();
        if (taken <= width - 1)
            lengthBesideEllipsis = length;
        return true;
    });
    if (length == text.size())
        return text;
    return width < 1 ? QString() : text.first(lengthBesideEllipsis) + u'…';
}

QString painted(const QString &text, Paint paint, const TextStyle &style)
{
    if (!style.isColoured || paint == Paint::Plain || text.isEmpty())
        return text;
    return u"\u001B[%1m"_s.arg(QLatin1StringView(codesOf(paint))) + text + u"\u001B[0m"_s;
}

QList<int> TextTable::columnWidths() const
{
    QList<int> widths;
    for (const Row &row : m_rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(row[i].text));
    }
    for (const Limits &limits : m_limits) {
        if (limits.column < widths.size())
            widths[limits.column] = std::min(widths[limits.column], limits.widest);
    }
    return widths;
}

/// Makes room for the last column.
void TextTable::fitInto(int columns, QList<int> &widths) const
{
    int left = columns;
    for (qsizetype i = 0; i + 1 < widths.size(); ++i)
        left -= widths[i] + columnGap;
    const int wanted = std::min(widths.last(), usefulLastColumn);
    for (const Limits &limits : m_limits) {
        if (left >= wanted)
            break;
        if (limits.column + 1 >= widths.size())
            continue;
        int &width = widths[limits.column];
        const int given = std::clamp(width - limits.narrowest, 0, wanted - left);
        width -= given;
        left += given;
    }
    widths.last() = left < std::min(widths.last(), leastLastColumn) ? 0 : std::min(widths.last(), left);
}

QString TextTable::render(const TextStyle &style) const
{
    QList<int> widths = columnWidths();
    if (widths.isEmpty())
        return {};
    if (style.isTerminal())
        fitInto(style.width, widths);

    QString text;
    for (const Row &row : m_rows) {
        QString line;
        int blanks = 0; // Held back, so that no line ends in blanks.
        int begin = 0;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const int width = style.isTerminal() ? std::clamp(style.width - begin, 0, widths[i]) : widths[i];
            const QString cell = cutToWidth(row[i].text, width);
            begin += widths[i] + columnGap;
            if (!cell.isEmpty()) {
                line += QString(blanks, u' ') + painted(cell, row[i].paint, style);
                blanks = 0;
            }
            blanks += widths[i] - displayWidth(cell) + columnGap;
        }
        text += line + u'\n';
    }
    return text;
}

} // namespace vantry
