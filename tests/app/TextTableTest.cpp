#include "app/control/TextTable.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

constexpr TextStyle pipe {};
constexpr TextStyle colours { .isColoured = true, .width = 80 };

TextStyle terminal(int width)
{
    return { .isColoured = false, .width = width };
}

TEST(DisplayText, isOneLine)
{
    EXPECT_EQ(displayText(u"  one\n\ttwo \r\n three "_s), u"one two three");
}

TEST(DisplayText, letsNobodySteerTheTerminal)
{
    EXPECT_FALSE(displayText(u"\x1B[31mred\x07 \u009B2J"_s).contains(u'\x1B'));
    EXPECT_FALSE(displayText(u"\x1B[31mred\x07 \u009B2J"_s).contains(u'\u009B'));
}

TEST(DisplayText, letsNobodyTurnTheWritingDirection)
{
    EXPECT_EQ(displayText(u"a\u202Eb\u2066c\u200Fd"_s), u"abcd");
}

TEST(DisplayWidth, countsWhatATerminalShows)
{
    EXPECT_EQ(displayWidth(u"abc"), 3);
    EXPECT_EQ(displayWidth(u"漢字"), 4);
    EXPECT_EQ(displayWidth(u"e\u0301"), 1);
    EXPECT_EQ(displayWidth(u"\U0001F600"), 2);
    EXPECT_EQ(displayWidth(u"\U0001F468\u200D\U0001F469\u200D\U0001F467"), 2);
    EXPECT_EQ(displayWidth(u""), 0);
}

TEST(CutToWidth, leavesWhatFits)
{
    EXPECT_EQ(cutToWidth(u"abcde"_s, 5), u"abcde");
    EXPECT_EQ(cutToWidth(u""_s, 0), u"");
}

TEST(CutToWidth, marksWhatIsLeftOut)
{
    EXPECT_EQ(cutToWidth(u"abcdef"_s, 5), u"abcd…");
    EXPECT_EQ(cutToWidth(u"abc"_s, 1), u"…");
    EXPECT_EQ(cutToWidth(u"abc"_s, 0), u"");
}

TEST(CutToWidth, splitsNoCharacter)
{
    EXPECT_EQ(cutToWidth(u"漢字漢字"_s, 6), u"漢字…");
    EXPECT_EQ(cutToWidth(u"ae\u0301io"_s, 3), u"ae\u0301…");
}

TEST(Painted, isPlainWithoutColours)
{
    EXPECT_EQ(painted(u"text"_s, Paint::Urgent, pipe), u"text");
}

TEST(Painted, endsWhatItBegins)
{
    const QString text = painted(u"text"_s, Paint::Urgent, colours);

    EXPECT_TRUE(text.startsWith(u"\x1B["));
    EXPECT_TRUE(text.endsWith(u"text\x1B[0m"));
}

TEST(TextTable, alignsItsColumns)
{
    TextTable table;
    table.addRow({ { u"a"_s }, { u"bb"_s }, { u"c"_s } });
    table.addRow({ { u"漢"_s }, { u"b"_s }, { u"c"_s } });

    EXPECT_EQ(table.render(pipe), u"a   bb  c\n漢  b   c\n");
}

TEST(TextTable, endsNoLineInBlanks)
{
    TextTable table;
    table.addRow({ { u"a"_s }, { u"b"_s }, { u""_s } });
    table.addRow({ { u"a"_s }, { u""_s }, { u""_s } });

    EXPECT_EQ(table.render(pipe), u"a  b\na\n");
}

TEST(TextTable, cutsNothingInAPipe)
{
    TextTable table;
    table.addRow({ { u"a"_s }, { QString(500, u'x') } });

    EXPECT_EQ(table.render(pipe).size(), 504);
}

TEST(TextTable, keepsEachRowOnOneLineOfTheTerminal)
{
    TextTable table;
    table.addRow({ { u"a"_s }, { QString(500, u'x') } });

    EXPECT_EQ(displayWidth(table.render(terminal(40)).trimmed()), 40);
}

TEST(TextTable, leavesTheLastColumnOutWhereItCouldNotBeRead)
{
    TextTable table;
    table.addRow({ { QString(30, u'a') }, { u"the last of all columns"_s } });

    EXPECT_EQ(table.render(terminal(40)), QString(30, u'a') + u'\n');
}

TEST(TextTable, limitsAColumn)
{
    TextTable table;
    table.setLimits(0, 4, 4);
    table.addRow({ { u"abcdefgh"_s }, { u"b"_s } });

    EXPECT_EQ(table.render(pipe), u"abc…  b\n");
}

TEST(TextTable, narrowsAColumnForTheLastOne)
{
    TextTable table;
    table.setLimits(0, 30, 8);
    table.addRow({ { QString(30, u'a') }, { u"the last of columns"_s } });

    EXPECT_EQ(table.render(terminal(40)), QString(18, u'a') + u"…  the last of columns\n");
}

TEST(TextTable, wrapsNoLineOfANarrowTerminal)
{
    TextTable table;
    table.addRow({ { QString(30, u'a') }, { QString(30, u'b') }, { u"c"_s } });

    EXPECT_EQ(displayWidth(table.render(terminal(40)).trimmed()), 40);
    EXPECT_EQ(displayWidth(table.render(terminal(10)).trimmed()), 10);
}

TEST(TextTable, alignsPaintedCells)
{
    TextTable table;
    table.addRow({ { u"a"_s, Paint::Urgent }, { u"b"_s } });
    table.addRow({ { u"aa"_s }, { u"b"_s } });

    EXPECT_EQ(table.render(colours), u"\x1B[1;33ma\x1B[0m   b\naa  b\n");
}

TEST(TextTable, isEmptyWithoutRows)
{
    EXPECT_EQ(TextTable().render(pipe), u"");
}

} // namespace
} // namespace vantry
