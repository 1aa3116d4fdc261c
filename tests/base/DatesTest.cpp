#include "base/Dates.h"

#include <gtest/gtest.h>

namespace vantry {
namespace {

using namespace std::chrono;

Date dateOf(year_month_day day, hours hour = {}, minutes minute = {}, nanoseconds rest = {})
{
    return Date { sys_days { day } } + hour + minute + rest;
}

const Date sample = dateOf(2026y / January / 31, 9h, 5min, 7s + 250ms);

TEST(Dates, writesTheThreeTextForms)
{
    EXPECT_EQ(isoMilliseconds(sample), QStringLiteral("2026-01-31T09:05:07.250Z"));
    EXPECT_EQ(isoSeconds(sample), "2026-01-31T09:05:07Z");
    EXPECT_EQ(plainSeconds(sample), "2026-01-31 09:05:07 +0000");
}

TEST(Dates, cutsAndDoesNotRound)
{
    const Date almostNext = dateOf(2026y / December / 31, 23h, 59min, 59s + 999'999'999ns);

    EXPECT_EQ(isoMilliseconds(almostNext), QStringLiteral("2026-12-31T23:59:59.999Z"));
    EXPECT_EQ(isoSeconds(almostNext), "2026-12-31T23:59:59Z");
}

TEST(Dates, cutsTowardsThePastBefore1970)
{
    EXPECT_EQ(isoMilliseconds(Date {} - 1ns), QStringLiteral("1969-12-31T23:59:59.999Z"));
    EXPECT_EQ(isoMilliseconds(Date {}), QStringLiteral("1970-01-01T00:00:00.000Z"));
}

TEST(Dates, writesTheEndsOfTheRange)
{
    EXPECT_EQ(isoMilliseconds(Date::min()), QStringLiteral("1677-09-21T00:12:43.145Z"));
    EXPECT_EQ(isoMilliseconds(Date::max()), QStringLiteral("2262-04-11T23:47:16.854Z"));
}

TEST(Dates, readsBackWhatItWrites)
{
    EXPECT_EQ(parseIsoDate(isoMilliseconds(sample)), sample);
}

TEST(Dates, readsFractionsOfOneToNineDigits)
{
    const Date whole = dateOf(2026y / January / 31, 9h, 5min, 7s);
    EXPECT_EQ(parseIsoDate(u"2026-01-31T09:05:07.2Z"), whole + 200ms);
    EXPECT_EQ(parseIsoDate(u"2026-01-31T09:05:07.000001Z"), whole + 1us);
    EXPECT_EQ(parseIsoDate(u"2026-01-31T09:05:07.123456789Z"), whole + 123'456'789ns);
}

TEST(Dates, readsZonesAndCrossesDays)
{
    EXPECT_EQ(parseIsoDate(u"2026-01-01T00:30:00.0+01:00"), dateOf(2025y / December / 31, 23h, 30min));
    EXPECT_EQ(parseIsoDate(u"2026-01-01T00:30:00.0-0130"), dateOf(2026y / January / 1, 2h, 0min));
}

TEST(Dates, readsLeapDays)
{
    EXPECT_TRUE(parseIsoDate(u"2024-02-29T00:00:00.0Z"));
    EXPECT_FALSE(parseIsoDate(u"2026-02-29T00:00:00.0Z"));
    EXPECT_FALSE(parseIsoDate(u"2100-02-29T00:00:00.0Z"));
}

TEST(Dates, clampsYearsThatACountOfNanosecondsCannotHold)
{
    EXPECT_EQ(isoMilliseconds(*parseIsoDate(u"9999-12-31T23:59:59.999Z")), QStringLiteral("2261-12-31T23:59:59.999Z"));
    EXPECT_EQ(isoMilliseconds(*parseIsoDate(u"0001-01-01T00:00:00.000Z")), QStringLiteral("1678-01-01T00:00:00.000Z"));
}

class RefusedDate : public testing::TestWithParam<const char16_t *>
{};

TEST_P(RefusedDate, isRefused)
{
    EXPECT_FALSE(parseIsoDate(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Dates, RefusedDate,
    testing::Values(u"", u"2026-01-31", u"2026-01-31T09:05:07Z", u"2026-01-31T09:05:07.250", u"2026-01-31T09:05:07.Z",
                    u"2026-01-31T09:05:07,250Z", u"2026-01-31 09:05:07.250Z", u"2026-01-31t09:05:07.250Z",
                    u"2026-01-31T09:05:07.250z", u"20260131T090507.250Z", u"2026-1-31T09:05:07.250Z",
                    u" 2026-01-31T09:05:07.250Z", u"2026-01-31T09:05:07.250Z ", u"2026-01-31T09:05:07.250Z\n",
                    u"2026-01-31T09:05:07.250 Z", u"2026-01-31T09:05:07.1234567890Z", u"2026-02-30T09:05:07.250Z",
                    u"2026-04-31T09:05:07.250Z", u"2026-13-01T09:05:07.250Z", u"2026-00-01T09:05:07.250Z",
                    u"2026-01-00T09:05:07.250Z", u"2026-01-31T24:00:00.000Z", u"2026-01-31T09:60:00.000Z",
                    u"2026-01-31T09:05:60.000Z", u"2026-01-31T09:05:07.250+1:00", u"2026-01-31T09:05:07.250+01",
                    u"2026-01-31T09:05:07.250+24:00", u"2026-01-31T09:05:07.250+01:60",
                    u"2026-01-31T09:05:07.250+01:00Z", u"-026-01-31T09:05:07.250Z", u"+2026-01-31T09:05:07.250Z",
                    u"\u0662\u0660\u0662\u0666-01-31T09:05:07.250Z", u"2026-01-31T09:05:07.\u0662Z"));

TEST(Dates, countsSecondsWithTheirFraction)
{
    EXPECT_DOUBLE_EQ(secondsSince1970(Date {} + 1500ms), 1.5);
    EXPECT_DOUBLE_EQ(secondsSince1970(Date {} - 250ms), -0.25);
}

} // namespace
} // namespace vantry
