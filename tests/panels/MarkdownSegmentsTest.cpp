#include "panels/MarkdownSegments.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

Segment textOf(const QString &text)
{
    return { Segment::Kind::text, text, {}, {} };
}

Segment codeOf(const QString &lang, const QString &code)
{
    return { Segment::Kind::codeBlock, {}, lang, code };
}

using Segments = std::vector<Segment>;

TEST(MarkdownSegments, keepsTextWithoutFencesAsOneSegment)
{
    EXPECT_EQ(splitSegments(u"one"), Segments { textOf(u"one"_s) });
    EXPECT_EQ(splitSegments(u"# one\n- two\n> `three`"), Segments { textOf(u"# one\n- two\n> `three`"_s) });
    EXPECT_EQ(splitSegments(u"two `` backticks"), Segments { textOf(u"two `` backticks"_s) });
}

TEST(MarkdownSegments, yieldsNoSegmentForBlankLines)
{
    EXPECT_EQ(splitSegments(u""), Segments {});
    EXPECT_EQ(splitSegments(u"\n \n\t\r\n\u00a0\u2028"), Segments {});
}

TEST(MarkdownSegments, takesOffLineEndsButNotBlanks)
{
    EXPECT_EQ(splitSegments(u"\r\n\n  one \n two  \n\n"), Segments { textOf(u"  one \n two  "_s) });
    EXPECT_EQ(splitSegments(u"\u2028\u0085 \none\u000b\u2029"), Segments { textOf(u" \none"_s) });
}

TEST(MarkdownSegments, cutsTextAndCode)
{
    EXPECT_EQ(splitSegments(u"before\n```rust\n  let a;\n\n```\nafter"),
              (Segments { textOf(u"before"_s), codeOf(u"rust"_s, u"  let a;"_s), textOf(u"after"_s) }));
    EXPECT_EQ(splitSegments(u"a```\nb```c"), (Segments { textOf(u"a"_s), codeOf({}, u"b"_s), textOf(u"c"_s) }));
}

TEST(MarkdownSegments, yieldsNoTextForABlankStretchBetweenBlocks)
{
    EXPECT_EQ(splitSegments(u"```\na\n```\n  \n```\nb\n```\n"), (Segments { codeOf({}, u"a"_s), codeOf({}, u"b"_s) }));
}

TEST(MarkdownSegments, readsALoneFenceAsAnEmptyBlock)
{
    EXPECT_EQ(splitSegments(u"```"), Segments { codeOf({}, {}) });
    EXPECT_EQ(splitSegments(u"a\n```"), (Segments { textOf(u"a"_s), codeOf({}, {}) }));
}

TEST(MarkdownSegments, trimsTheLanguage)
{
    EXPECT_EQ(splitSegments(u"``` \tc++ 20 \n1\n```"), Segments { codeOf(u"c++ 20"_s, u"1"_s) });
    EXPECT_EQ(splitSegments(u"```c++\r\n1\r\n```\r\n"), Segments { codeOf(u"c++"_s, u"1"_s) });
    EXPECT_EQ(splitSegments(u"```\n1"), Segments { codeOf({}, u"1"_s) });
}

TEST(MarkdownSegments, readsABlockThatIsStillBeingTyped)
{
    EXPECT_EQ(splitSegments(u"a\n```sh\nls\n"), (Segments { textOf(u"a"_s), codeOf(u"sh"_s, u"ls"_s) }));
    EXPECT_EQ(splitSegments(u"```sh\nls `` -a\n\n"), Segments { codeOf(u"sh"_s, u"ls `` -a"_s) });
}

TEST(MarkdownSegments, takesALineWithoutItsEndForCode)
{
    EXPECT_EQ(splitSegments(u"```rust"), Segments { codeOf({}, u"rust"_s) });
    EXPECT_EQ(splitSegments(u"```a```"), Segments { codeOf({}, u"a"_s) });
}

TEST(MarkdownSegments, looksForTheClosingFenceBehindTheLanguageLine)
{
    // Both fences stand on one line, so the first one's language reaches over the second.
    EXPECT_EQ(splitSegments(u"a ```b``` c\nd"), (Segments { textOf(u"a "_s), codeOf(u"b``` c"_s, u"d"_s) }));
}

TEST(MarkdownSegments, cutsRunsOfBackticksThreeByThree)
{
    EXPECT_EQ(splitSegments(u"``````"), Segments { codeOf({}, {}) });
    EXPECT_EQ(splitSegments(u"```````"), (Segments { codeOf({}, {}), textOf(u"`"_s) }));
    EXPECT_EQ(splitSegments(u"`````````"), (Segments { codeOf({}, {}), codeOf({}, {}) }));
}

TEST(MarkdownSegments, keepsIndentationAndTrailingBlanksOfCode)
{
    EXPECT_EQ(splitSegments(u"```\n\n    a  \n\tb \n\n\n```"), Segments { codeOf({}, u"    a  \n\tb "_s) });
}

TEST(MarkdownSegments, doesWithAnyNumberOfFences)
{
    EXPECT_EQ(splitSegments(QString(1'000'000, u'`')).size(), 166'667U);
    EXPECT_EQ(splitSegments(u"```\na\n```\n"_s.repeated(100'000)).size(), 100'000U);
}

} // namespace
} // namespace vantry::test
