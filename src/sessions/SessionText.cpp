#include "sessions/SessionText.h"

#include "base/Text.h"

#include <QStringBuilder>
#include <QStringTokenizer>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace vantry {

namespace {

constexpr qsizetype maximumLineLength = 120;
constexpr qsizetype cutLineLength = 117;
constexpr qsizetype shortestAbbreviatedPath = 3;

/// Whether a path goes on over this unit.
bool isPathUnit(QChar unit)
{
    return !unit.isSpace() && unit != u':' && unit != u',' && unit != u']' && unit != u'"' && unit != u'\'';
}

/// The path in a run of path units: what `(/[^\s:,\]"']+){3,}` matches in it. Since the class takes "/" too, a match
/// reaches from the run's first "/" to its end, if a second and a third "/" follow, each with something before and
/// behind it. Told without a regular expression, because these give up on very long text.
QStringView pathInRun(QStringView run)
{
    const qsizetype first = run.indexOf(u'/');
    const qsizetype second = first < 0 ? -1 : run.indexOf(u'/', first + 2);
    const qsizetype third = second < 0 ? -1 : run.indexOf(u'/', second + 2);
    if (third < 0 || third + 1 >= run.size())
        return {};
    return run.sliced(first);
}

/// "…/" and the path's last two parts; the path itself when it has fewer than three.
void appendAbbreviated(QString &out, QStringView path)
{
    QStringView last;
    QStringView lastButOne;
    qsizetype parts = 0;
    for (const QStringView part : qTokenize(path, u'/', Qt::SkipEmptyParts)) {
        lastButOne = std::exchange(last, part);
        ++parts;
    }
    if (parts < shortestAbbreviatedPath)
        out += path;
    else
        out += u"…/" % lastButOne % u'/' % last;
}

/// Abbreviates paths from the front until the result surely has more than `enough` characters, whatever follows.
QString abbreviated(QStringView text, qsizetype enough)
{
    QString out;
    // Counting again only when the result has doubled keeps this linear.
    qsizetype nextCount = 4 * std::min<qsizetype>(enough, text.size());
    auto position = text.begin();
    while (position != text.end()) {
        const auto runEnd = std::find_if_not(position, text.end(), isPathUnit);
        const QStringView run(position, runEnd);
        const QStringView path = pathInRun(run);
        out += run.chopped(path.size());
        appendAbbreviated(out, path);

        const auto nextRun = std::find_if(runEnd, text.end(), isPathUnit);
        out += QStringView(runEnd, nextRun);
        position = nextRun;

        if (out.size() > nextCount) {
            if (hasMoreCharactersThan(out, enough))
                break;
            nextCount = 2 * out.size();
        }
    }
    return out;
}

/// Whether a line says nothing: a rule, bare heading marks, or the edge of a code block.
bool isDecoration(QStringView line)
{
    return line.startsWith(u"```") ||
           std::ranges::all_of(line, [](QChar unit) { return unit == u'-' || unit == u'=' || unit == u'#'; });
}

/// Without the blanks (every width of them) and tabs at both ends.
QStringView trimmedBlanks(QStringView line)
{
    const auto isBlank = [](QChar unit) { return unit == u'\t' || unit.category() == QChar::Separator_Space; };
    while (!line.isEmpty() && isBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && isBlank(line.back()))
        line.chop(1);
    return line;
}

QString cutToRow(const QString &line)
{
    if (!hasMoreCharactersThan(line, maximumLineLength))
        return line;
    QStringView start = firstCharacters(line, cutLineLength);
    if (const qsizetype blank = start.lastIndexOf(u' '); blank >= 0)
        start.truncate(blank);
    return start % u'…';
}

constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t minute = 60; ///< Seconds.
constexpr std::uint64_t hour = 60 * minute;
constexpr std::uint64_t day = 24 * hour;

/// Unsigned, since two dates can be farther apart than a signed count of nanoseconds reaches.
std::uint64_t nanosecondsBetween(Date earlier, Date later)
{
    return static_cast<std::uint64_t>(later.time_since_epoch().count()) -
           static_cast<std::uint64_t>(earlier.time_since_epoch().count());
}

} // namespace

std::optional<QString> firstMeaningfulLine(QStringView text)
{
    while (!text.isEmpty()) {
        const qsizetype lineFeed = text.indexOf(u'\n');
        QStringView line = lineFeed < 0 ? text : text.first(lineFeed);
        text = lineFeed < 0 ? QStringView() : text.sliced(lineFeed + 1);
        if (lineFeed >= 0 && line.endsWith(u'\r'))
            line.chop(1);
        line = trimmedBlanks(line);
        if (!isDecoration(line)) // As an empty line is, too.
            return cutToRow(abbreviated(line, maximumLineLength + 1));
    }
    return std::nullopt;
}

QString abbreviatePaths(const QString &text)
{
    return abbreviated(text, text.size());
}

QString timeAgoText(Date date, Date now)
{
    if (date > now)
        return QStringLiteral("just now");
    const std::uint64_t seconds = nanosecondsBetween(date, now) / nanosecondsPerSecond;
    if (seconds < minute)
        return QStringLiteral("just now");
    if (seconds < hour)
        return QString::number(seconds / minute) % u"m ago";
    if (seconds < day)
        return QString::number(seconds / hour) % u"h ago";
    return QString::number(seconds / day) % u"d ago";
}

std::chrono::nanoseconds timeAgoTextLasts(Date date, Date now)
{
    std::uint64_t unit = minute;
    std::uint64_t elapsed = 0;
    if (date <= now) {
        elapsed = nanosecondsBetween(date, now);
        const std::uint64_t seconds = elapsed / nanosecondsPerSecond;
        unit = seconds < hour ? minute : seconds < day ? hour : day;
    }
    unit *= nanosecondsPerSecond;
    return std::chrono::nanoseconds(static_cast<std::int64_t>(unit - elapsed % unit));
}

} // namespace vantry
