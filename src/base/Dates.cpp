#include "base/Dates.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace vantry {
namespace {

using namespace std::chrono;

struct Fields
{
    int year;
    unsigned month, day, hour, minute, second, millisecond;
};

/// The parts of a date in UTC. The text forms hold four digits of year, so what lies outside of them is clamped; a
/// nanosecond count reaches from 1677 to 2262 in any case.
Fields fieldsOf(Date date)
{
    // Nanoseconds can't hold the start of the first day that they reach into; milliseconds can.
    const auto cut = floor<milliseconds>(date);
    const auto day = floor<days>(cut);
    const year_month_day ymd { day };
    const hh_mm_ss time { cut - day };
    return { std::clamp(static_cast<int>(ymd.year()), 0, 9999),
             static_cast<unsigned>(ymd.month()),
             static_cast<unsigned>(ymd.day()),
             static_cast<unsigned>(time.hours().count()),
             static_cast<unsigned>(time.minutes().count()),
             static_cast<unsigned>(time.seconds().count()),
             static_cast<unsigned>(time.subseconds().count()) };
}

/// Writes the number into the text, right-aligned over `count` characters that end before `end`.
void putDigits(std::string &text, std::size_t end, std::size_t count, unsigned number)
{
    for (std::size_t i = 0; i < count; ++i) {
        text[end - 1 - i] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
}

std::string withDateAndTime(std::string pattern, const Fields &fields)
{
    putDigits(pattern, 4, 4, static_cast<unsigned>(fields.year));
    putDigits(pattern, 7, 2, fields.month);
    putDigits(pattern, 10, 2, fields.day);
    putDigits(pattern, 13, 2, fields.hour);
    putDigits(pattern, 16, 2, fields.minute);
    putDigits(pattern, 19, 2, fields.second);
    return pattern;
}

/// Reads the text from its front; once something didn't fit, nothing fits any more.
class DateReader
{
public:
    explicit DateReader(QStringView text)
        : m_rest(text)
    {}

    void expect(char16_t character)
    {
        if (!take(character))
            m_sound = false;
    }
    bool take(char16_t character)
    {
        if (m_rest.isEmpty() || m_rest.front() != character)
            return false;
        m_rest = m_rest.sliced(1);
        return true;
    }
    /// Exactly so many ASCII digits.
    unsigned number(int digits)
    {
        unsigned value = 0;
        for (int i = 0; i < digits; ++i)
            value = value * 10 + digit();
        return value;
    }
    /// One to nine digits behind a decimal point.
    nanoseconds fraction()
    {
        unsigned value = digit();
        int count = 1;
        while (!m_rest.isEmpty() && isDigit(m_rest.front()) && count < 9) {
            value = value * 10 + digit();
            ++count;
        }
        for (; count < 9; ++count)
            value *= 10;
        return nanoseconds { value };
    }
    /// "Z", "+01:00" or "+0100": how far local time is ahead of UTC.
    minutes zone()
    {
        if (take(u'Z'))
            return minutes::zero();
        const bool behind = take(u'-');
        if (!behind)
            expect(u'+');
        const unsigned hour = number(2);
        take(u':');
        const unsigned minute = number(2);
        require(hour < 24 && minute < 60);
        const minutes ahead = hours { hour } + minutes { minute };
        return behind ? -ahead : ahead;
    }
    void require(bool condition) { m_sound = m_sound && condition; }
    [[nodiscard]] bool isSoundAndAtEnd() const { return m_sound && m_rest.isEmpty(); }

private:
    static bool isDigit(QChar character) { return character >= u'0' && character <= u'9'; }
    unsigned digit()
    {
        if (m_rest.isEmpty() || !isDigit(m_rest.front())) {
            m_sound = false;
            return 0;
        }
        const unsigned value = m_rest.front().unicode() - u'0';
        m_rest = m_rest.sliced(1);
        return value;
    }

    QStringView m_rest;
    bool m_sound { true };
};

} // namespace

QString isoMilliseconds(Date date)
{
    const Fields fields = fieldsOf(date);
    std::string text = withDateAndTime("0000-00-00T00:00:00.000Z", fields);
    putDigits(text, 23, 3, fields.millisecond);
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

std::string isoSeconds(Date date)
{
    return withDateAndTime("0000-00-00T00:00:00Z", fieldsOf(date));
}

std::string plainSeconds(Date date)
{
    return withDateAndTime("0000-00-00 00:00:00 +0000", fieldsOf(date));
}

std::optional<Date> parseIsoDate(QStringView text)
{
    DateReader reader(text);
    const year year { static_cast<int>(reader.number(4)) };
    reader.expect(u'-');
    const month month { reader.number(2) };
    reader.expect(u'-');
    const day day { reader.number(2) };
    reader.expect(u'T');
    const unsigned hour = reader.number(2);
    reader.expect(u':');
    const unsigned minute = reader.number(2);
    reader.expect(u':');
    const unsigned second = reader.number(2);
    reader.expect(u'.');
    const nanoseconds fraction = reader.fraction();
    const minutes ahead = reader.zone();

    const year_month_day date { year, month, day };
    reader.require(date.ok() && hour < 24 && minute < 60 && second < 60);
    if (!reader.isSoundAndAtEnd())
        return std::nullopt;
    const sys_seconds whole = sys_days { date } + hours { hour } + minutes { minute } + seconds { second } - ahead;
    // A count of nanoseconds can't hold the years outside of 1678 to 2261: such a date counts as the nearest that fits.
    constexpr sys_seconds earliest = sys_days { std::chrono::year { 1678 } / January / 1 };
    constexpr sys_seconds latest = sys_days { std::chrono::year { 2262 } / January / 1 } - seconds { 1 };
    return Date { std::clamp(whole, earliest, latest) } + fraction;
}

double secondsSince1970(Date date)
{
    return Seconds { date.time_since_epoch() }.count();
}

} // namespace vantry
