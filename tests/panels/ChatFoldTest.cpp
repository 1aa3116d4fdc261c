#include "panels/ChatFold.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

QString lines(int count, const QString &lineEnd = u"\n"_s)
{
    QStringList list;
    for (int i = 1; i <= count; ++i)
        list.append(QString::number(i));
    return list.join(lineEnd);
}

TEST(ChatFoldTest, tenLinesShowInFull)
{
    EXPECT_EQ(foldLongText(lines(10)), (FoldedText { lines(10), {}, 0 }));
}

TEST(ChatFoldTest, elevenLinesShowFourAndFourAndHideThree)
{
    EXPECT_EQ(foldLongText(lines(11)), (FoldedText { u"1\n2\n3\n4"_s, u"8\n9\n10\n11"_s, 3 }));
}

TEST(ChatFoldTest, anEmptyTextIsOneLine)
{
    EXPECT_EQ(foldLongText({}), FoldedText());
}

TEST(ChatFoldTest, emptyLinesCount)
{
    EXPECT_EQ(foldLongText(u"\n"_s.repeated(9)).hiddenLines, 0);
    EXPECT_EQ(foldLongText(u"\n"_s.repeated(10)), (FoldedText { u"\n\n\n"_s, u"\n\n\n"_s, 3 }));
}

TEST(ChatFoldTest, carriageReturnAndLineFeedAreOneLineEnd)
{
    EXPECT_EQ(foldLongText(lines(10, u"\r\n"_s)), (FoldedText { lines(10, u"\r\n"_s), {}, 0 }));
    EXPECT_EQ(foldLongText(lines(11, u"\r\n"_s)), foldLongText(lines(11)));
}

TEST(ChatFoldTest, otherLineEndsEndLinesToo)
{
    for (const QString &lineEnd : { u"\r"_s, u"\v"_s, u"\f"_s, u"\u0085"_s, u"\u2028"_s, u"\u2029"_s })
        EXPECT_EQ(foldLongText(lines(11, lineEnd)), foldLongText(lines(11)))
            << static_cast<int>(lineEnd.at(0).unicode());
}

TEST(ChatFoldTest, aMillionLinesFoldToEight)
{
    const FoldedText folded = foldLongText(u"x\n"_s.repeated(1'000'000));

    EXPECT_EQ(folded.head, u"x\nx\nx\nx"_s);
    EXPECT_EQ(folded.tail, u"x\nx\nx\n"_s);
    EXPECT_EQ(folded.hiddenLines, 999'993);
}

} // namespace
} // namespace vantry
