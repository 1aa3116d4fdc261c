#include "sessions/SessionText.h"

#include "base/Text.h"

#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace vantry::test {

namespace {

std::optional<QString> shown(const QString &text)
{
    return firstMeaningfulLine(text);
}

QString repeated(QStringView text, int times)
{
    return text.toString().repeated(times);
}

Date dateOf(double seconds)
{
    return Date { std::chrono::duration_cast<std::chrono::nanoseconds>(Seconds(seconds)) };
}

QString ago(double seconds)
{
    const Date now = dateOf(1'800'000'000);
    return timeAgoText(now - std::chrono::duration_cast<std::chrono::nanoseconds>(Seconds(seconds)), now);
}

/// The rule for paths as a regular expression tells it, match by match from the last one.
QString abbreviatedByExpression(QString text)
{
    static const QRegularExpression paths(QStringLiteral(R"((/[^\s:,\]"']+){3,})"),
                                          QRegularExpression::UseUnicodePropertiesOption);
    QList<QRegularExpressionMatch> matches;
    for (auto match = paths.globalMatch(text); match.hasNext();)
        matches.prepend(match.next());
    for (const QRegularExpressionMatch &match : matches) {
        const QStringList parts = match.captured().split(u'/', Qt::SkipEmptyParts);
        if (parts.size() >= 3)
            text.replace(match.capturedStart(), match.capturedLength(),
                         QString(QStringLiteral("…/") + parts.at(parts.size() - 2) + u'/' + parts.back()));
    }
    return text;
}

} // namespace

TEST(FirstMeaningfulLine, isTheFirstLineThatSaysSomething)
{
    EXPECT_EQ(firstMeaningfulLine(u"\n\n  \t\nDone.\nMore."), QStringLiteral("Done."));
}

TEST(FirstMeaningfulLine, isTrimmedOfBlanksAndTabs)
{
    EXPECT_EQ(firstMeaningfulLine(u" \t Done. \t "), QStringLiteral("Done."));
}

TEST(FirstMeaningfulLine, isAbsentInEmptyAndBlankText)
{
    EXPECT_EQ(firstMeaningfulLine({}), std::nullopt);
    EXPECT_EQ(firstMeaningfulLine(u""), std::nullopt);
    EXPECT_EQ(firstMeaningfulLine(u"\n\n"), std::nullopt);
    EXPECT_EQ(firstMeaningfulLine(u" \n\t\r\n "), std::nullopt);
}

TEST(FirstMeaningfulLine, isAbsentWhenAllLinesAreRules)
{
    EXPECT_EQ(firstMeaningfulLine(u"---\n===\n###\n-=#\n -- \n#"), std::nullopt);
}

TEST(FirstMeaningfulLine, keepsTheMarksOfAHeadingWithWords)
{
    EXPECT_EQ(firstMeaningfulLine(u"---\n## Plan"), QStringLiteral("## Plan"));
}

TEST(FirstMeaningfulLine, takesARuleOfOtherCharacters)
{
    EXPECT_EQ(firstMeaningfulLine(u"***"), QStringLiteral("***"));
    EXPECT_EQ(firstMeaningfulLine(u"- -"), QStringLiteral("- -"));
}

TEST(FirstMeaningfulLine, skipsAFenceButNotTheCodeBelowIt)
{
    EXPECT_EQ(firstMeaningfulLine(u"```cpp\nint x;\n```"), QStringLiteral("int x;"));
    EXPECT_EQ(firstMeaningfulLine(u"  ````\n``two``"), QStringLiteral("``two``"));
}

TEST(FirstMeaningfulLine, countsACarriageReturnBeforeALineFeedToTheBreak)
{
    EXPECT_EQ(firstMeaningfulLine(u"\r\n---\r\n \r\nDone. \r\nMore."), QStringLiteral("Done."));
}

TEST(FirstMeaningfulLine, keepsACarriageReturnElsewhere)
{
    EXPECT_EQ(firstMeaningfulLine(u"a\rb"), QStringLiteral("a\rb"));
}

TEST(FirstMeaningfulLine, comesBackWholeUpTo120Characters)
{
    const QString line = repeated(u"word ", 23) + QStringLiteral("words");
    ASSERT_EQ(line.size(), 120);

    EXPECT_EQ(firstMeaningfulLine(line), line);
}

TEST(FirstMeaningfulLine, isCutAtTheLastBlankOfItsFirst117CharactersFrom121On)
{
    const QString line = repeated(u"word ", 23) + QStringLiteral("sentry");
    ASSERT_EQ(line.size(), 121);

    EXPECT_EQ(firstMeaningfulLine(line), QString(repeated(u"word ", 22) + QStringLiteral("word…")));
}

TEST(FirstMeaningfulLine, findsABlankThatIsThe117thCharacter)
{
    EXPECT_EQ(shown(repeated(u"x", 116) + u' ' + repeated(u"y", 50)), QString(repeated(u"x", 116) + u'…'));
}

TEST(FirstMeaningfulLine, ignoresABlankBehindThe117thCharacter)
{
    EXPECT_EQ(shown(repeated(u"x", 117) + u' ' + repeated(u"y", 50)), QString(repeated(u"x", 117) + u'…'));
}

TEST(FirstMeaningfulLine, isCutAt117CharactersWithoutABlank)
{
    EXPECT_EQ(firstMeaningfulLine(repeated(u"x", 200)), QString(repeated(u"x", 117) + u'…'));
}

TEST(FirstMeaningfulLine, countsUserPerceivedCharacters)
{
    for (const QStringView character :
         { QStringView(u"e\u0301"), QStringView(u"\U0001F600"), QStringView(u"\U0001F1E9\U0001F1EA"),
           QStringView(u"\U0001F468\u200D\U0001F469\u200D\U0001F467") }) {
        EXPECT_EQ(firstMeaningfulLine(repeated(character, 120)), repeated(character, 120));
        EXPECT_EQ(firstMeaningfulLine(repeated(character, 121)), QString(repeated(character, 117) + u'…'));
    }
}

TEST(FirstMeaningfulLine, isMeasuredAfterItsPathsWereShortened)
{
    const QString line = QStringLiteral("Edit /") + repeated(u"folder/", 30) + QStringLiteral("file.cpp now");

    EXPECT_EQ(firstMeaningfulLine(line), QStringLiteral("Edit …/folder/file.cpp now"));
}

TEST(FirstMeaningfulLine, shortensPathsInALongLineAsInAShortOne)
{
    const QString line = repeated(u"/a/b/c/d ", 100'000);

    const auto shown = firstMeaningfulLine(line);

    ASSERT_TRUE(shown);
    EXPECT_EQ(*shown, QString(repeated(u"…/c/d ", 18) + QStringLiteral("…/c/d…")));
}

TEST(FirstMeaningfulLine, givesForALineOfAnyLengthWhatTheRulesGiveForTheWholeOfIt)
{
    std::mt19937 random(7);
    const QList<QString> pieces { QStringLiteral("/ab"), QStringLiteral("/"),
                                  QStringLiteral(" "),   QStringLiteral("e\u0301"),
                                  QStringLiteral("x"),   QStringLiteral("\u0301"),
                                  QStringLiteral(":"),   QStringLiteral("/a/b/c/d/e/f/g") };
    for (int round = 0; round < 500; ++round) {
        QString line = QStringLiteral("x");
        for (unsigned count = random() % 400; count > 0; --count)
            line += pieces.at(static_cast<qsizetype>(random() % static_cast<unsigned>(pieces.size())));
        line += u'x';
        const QString whole = abbreviatedByExpression(line);
        QString expected = whole;
        if (hasMoreCharactersThan(whole, 120)) {
            expected = firstCharacters(whole, 117).toString();
            expected.truncate(expected.contains(u' ') ? expected.lastIndexOf(u' ') : expected.size());
            expected += u'…';
        }

        EXPECT_EQ(firstMeaningfulLine(line), expected);
    }
}

TEST(FirstMeaningfulLine, readsHugeTextInOnePass)
{
    // Each of these takes minutes, or all of the stack, where a step is done again for what it has seen.
    constexpr int million = 1'000'000;
    EXPECT_EQ(firstMeaningfulLine(repeated(u"\n", million)), std::nullopt);
    EXPECT_EQ(firstMeaningfulLine(repeated(u"---\r\n", million)), std::nullopt);
    EXPECT_EQ(shown(repeated(u" ", million) + u'x'), QStringLiteral("x"));
    EXPECT_EQ(firstMeaningfulLine(QString(u'/' + repeated(u"x", million))), QString(u'/' + repeated(u"x", 116) + u'…'));
    EXPECT_EQ(firstMeaningfulLine(repeated(u"/", million)), QString(repeated(u"/", 117) + u'…'));
    EXPECT_EQ(firstMeaningfulLine(repeated(u"/x", million)), QStringLiteral("…/x/x"));
    EXPECT_EQ(firstMeaningfulLine(repeated(u"/x:", million)), QString(repeated(u"/x:", 39) + u'…'));
    EXPECT_EQ(firstMeaningfulLine(QString(u'x' + repeated(u"\u0301", million))),
              QString(u'x' + repeated(u"\u0301", million)));
}

TEST(AbbreviatePaths, keepsTheLastTwoPartsOfALongPath)
{
    EXPECT_EQ(abbreviatePaths(QStringLiteral("/home/ada/projects/vantry/main.cpp")),
              QStringLiteral("…/vantry/main.cpp"));
}

TEST(AbbreviatePaths, leavesAPathOfTwoPartsAlone)
{
    EXPECT_EQ(abbreviatePaths(QStringLiteral("see /etc/hosts.")), QStringLiteral("see /etc/hosts."));
}

TEST(AbbreviatePaths, shortensAPathOfThreeParts)
{
    EXPECT_EQ(abbreviatePaths(QStringLiteral("/a/b/c")), QStringLiteral("…/b/c"));
}

TEST(AbbreviatePaths, shortensEveryPathOfAText)
{
    EXPECT_EQ(abbreviatePaths(QStringLiteral("mv /a/b/c/d.txt, /e/f/g:12 \"/h/i/j\" '/k/l/m' [/n/o/p]")),
              QStringLiteral("mv …/c/d.txt, …/f/g:12 \"…/i/j\" '…/l/m' […/o/p]"));
}

TEST(AbbreviatePaths, startsAtTheFirstSeparatorOfAWord)
{
    EXPECT_EQ(abbreviatePaths(QStringLiteral("src/a/b/c.cpp ~/x/y/z")), QStringLiteral("src…/b/c.cpp ~…/y/z"));
    EXPECT_EQ(abbreviatePaths(QStringLiteral("https://host/a/b/c")), QStringLiteral("https:…/b/c"));
}

TEST(AbbreviatePaths, dropsEmptyParts)
{
    EXPECT_EQ(abbreviatePaths(QStringLiteral("//a//b//c//")), QStringLiteral("…/b/c"));
    EXPECT_EQ(abbreviatePaths(QStringLiteral("/a///b")), QStringLiteral("/a///b"));
    EXPECT_EQ(abbreviatePaths(QStringLiteral("////////")), QStringLiteral("////////"));
}

TEST(AbbreviatePaths, endsAPathAtEveryWhitespaceOfUnicode)
{
    for (const char16_t blank : { u' ', u'\t', u'\n', u'\r', u'\u0085', u'\u00A0', u'\u2003', u'\u2028', u'\u3000' })
        EXPECT_EQ(abbreviatePaths(QStringLiteral("/a/b/c") + QChar(blank) + QStringLiteral("x/y")),
                  QStringLiteral("…/b/c") + QChar(blank) + QStringLiteral("x/y"));
}

TEST(AbbreviatePaths, takesTextThatIsNoValidUnicode)
{
    EXPECT_EQ(abbreviatePaths(QStringLiteral("/a/") + QChar(0xD800) + QStringLiteral("/c/d")), QStringLiteral("…/c/d"));
}

TEST(AbbreviatePaths, givesWhatTheRegularExpressionGives)
{
    std::mt19937 random(42);
    const QString alphabet = QStringLiteral("///////aab :,]\"'\u2003\u0301x.");
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (unsigned count = random() % 24; count > 0; --count)
            text += alphabet.at(static_cast<qsizetype>(random() % static_cast<unsigned>(alphabet.size())));

        ASSERT_EQ(abbreviatePaths(text), abbreviatedByExpression(text)) << text.toStdString();
    }
}

TEST(TimeAgoText, isJustNowBelowAMinute)
{
    EXPECT_EQ(ago(0), QStringLiteral("just now"));
    EXPECT_EQ(ago(59.9), QStringLiteral("just now"));
}

TEST(TimeAgoText, isJustNowForTheFuture)
{
    EXPECT_EQ(ago(-0.5), QStringLiteral("just now"));
    EXPECT_EQ(ago(-100'000), QStringLiteral("just now"));
}

TEST(TimeAgoText, isCutToWholeMinutesHoursAndDays)
{
    EXPECT_EQ(ago(60), QStringLiteral("1m ago"));
    EXPECT_EQ(ago(119.9), QStringLiteral("1m ago"));
    EXPECT_EQ(ago(3599), QStringLiteral("59m ago"));
    EXPECT_EQ(ago(3599.9), QStringLiteral("59m ago"));
    EXPECT_EQ(ago(3600), QStringLiteral("1h ago"));
    EXPECT_EQ(ago(7199), QStringLiteral("1h ago"));
    EXPECT_EQ(ago(86399), QStringLiteral("23h ago"));
    EXPECT_EQ(ago(86400), QStringLiteral("1d ago"));
    EXPECT_EQ(ago(86400.0 * 400 + 1), QStringLiteral("400d ago"));
}

TEST(TimeAgoText, holdsForDatesAsFarApartAsCanBe)
{
    EXPECT_EQ(timeAgoText(Date::min(), Date::max()), QStringLiteral("213503d ago"));
    EXPECT_EQ(timeAgoText(Date::max(), Date::min()), QStringLiteral("just now"));
    EXPECT_GT(timeAgoTextLasts(Date::min(), Date::max()).count(), 0);
    EXPECT_GT(timeAgoTextLasts(Date::max(), Date::min()).count(), 0);
}

TEST(TimeAgoText, lastsUntilItBecomesAnother)
{
    const Date date = dateOf(1'800'000'000);
    for (const double seconds : { 0.0, 0.25, 59.9, 60.0, 119.5, 3'599.0, 3'600.0, 7'199.5, 86'399.0, 86'400.0, 1e7 }) {
        const Date now = date + std::chrono::duration_cast<std::chrono::nanoseconds>(Seconds(seconds));
        const Date end = now + timeAgoTextLasts(date, now);
        EXPECT_EQ(timeAgoText(date, end - std::chrono::nanoseconds { 1 }), timeAgoText(date, now)) << seconds;
        EXPECT_NE(timeAgoText(date, end), timeAgoText(date, now)) << seconds;
    }
}

TEST(TimeAgoText, ofADateInTheFutureLastsAtLeastAMinute)
{
    EXPECT_EQ(timeAgoTextLasts(dateOf(100'000), dateOf(0)), std::chrono::minutes { 1 });
}

} // namespace vantry::test
