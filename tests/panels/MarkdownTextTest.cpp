#include "panels/MarkdownText.h"

#include <QMetaProperty>

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

MarkdownBlock blockOf(const QString &text)
{
    const QVariantList blocks = MarkdownText(text, false).blocks();
    return blocks.size() == 1 ? blocks.front().value<MarkdownBlock>() : MarkdownBlock {};
}

TEST(MarkdownText, yieldsABlockForEachSegment)
{
    const MarkdownText text(u"a\n```rust\nb < c\n```\nd"_s, true);
    ASSERT_EQ(text.blocks().size(), 3);
    EXPECT_EQ(text.segments().size(), 3U);
    EXPECT_TRUE(text.isUser());
    const auto code = text.blocks().at(1).value<MarkdownBlock>();
    EXPECT_TRUE(code.isCode);
    EXPECT_EQ(code.lang, u"rust"_s);
    EXPECT_EQ(code.code, u"b < c"_s);
    EXPECT_FALSE(text.blocks().at(2).value<MarkdownBlock>().isCode);
    EXPECT_EQ(text.plainText(), u"a\nb < c\nd"_s);
}

TEST(MarkdownText, rendersATextOfBlankLinesEmpty)
{
    EXPECT_TRUE(MarkdownText(u"\n \n"_s, false).blocks().isEmpty());
    EXPECT_TRUE(MarkdownText().blocks().isEmpty());
    EXPECT_EQ(MarkdownText().plainText(), QString());
}

TEST(MarkdownText, marksEachStyleByItsTag)
{
    EXPECT_EQ(blockOf(u"a `b` *c* **d** ***e***"_s).html,
              u"<p>a <code>b</code> <i>c</i> <b>d</b> <b><i>e</i></b></p>"_s);
    EXPECT_EQ(blockOf(u"a `b` *c*"_s).plain, u"a b c"_s);
}

TEST(MarkdownText, escapesWhatTheTextHolds)
{
    EXPECT_EQ(blockOf(u"<b>&amp;\"'</b> `<i>` **<u>**"_s).html,
              u"<p>&lt;b&gt;&amp;amp;&quot;'&lt;/b&gt; <code>&lt;i&gt;</code> <b>&lt;u&gt;</b></p>"_s);
    EXPECT_EQ(blockOf(u"<img src=\"http://x.org/a.png\">"_s).html,
              u"<p>&lt;img src=&quot;<a href=\"http://x.org/a.png\">http://x.org/a.png</a>&quot;&gt;</p>"_s);
}

TEST(MarkdownText, escapesTheTargetOfALink)
{
    EXPECT_EQ(blockOf(u"http://x.org/?a&b='c"_s).html,
              u"<p><a href=\"http://x.org/?a&amp;b='c\">http://x.org/?a&amp;b='c</a></p>"_s);
    EXPECT_EQ(blockOf(u"http://x.org/ä"_s).html, u"<p><a href=\"http://x.org/%C3%A4\">http://x.org/ä</a></p>"_s);
}

TEST(MarkdownText, tellsWhereItsLinksStand)
{
    const QVariantList links = blockOf(u"**a**\r\nb.org &c d@e.org"_s).links;
    ASSERT_EQ(links.size(), 2);
    EXPECT_EQ(links.at(0).value<MarkdownLink>(), (MarkdownLink { u"b.org"_s, u"http://b.org"_s, 2, 5 }));
    EXPECT_EQ(links.at(1).value<MarkdownLink>(), (MarkdownLink { u"d@e.org"_s, u"mailto:d@e.org"_s, 11, 7 }));
}

TEST(MarkdownText, breaksLinesByTags)
{
    EXPECT_EQ(blockOf(u"a\nb\r\nc\rd\u2028e"_s).html, u"<p>a<br/>b<br/>c<br/>d<br/>e</p>"_s);
}

TEST(MarkdownText, replacesWhatADocumentCannotHold)
{
    EXPECT_EQ(blockOf(u"a"_s + QChar(u'\0') + QChar(0xFDD0) + QChar(0xFFFC) + QChar(0x1B) + u"\tb"_s).html,
              u"<p>a\uFFFD\uFFFD\uFFFD\uFFFD\tb</p>"_s);
}

TEST(MarkdownText, isParsedOnceAndShared)
{
    const MarkdownText text(u"a"_s, false);
    const MarkdownText copy = text; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(&copy.segments(), &text.segments());
    EXPECT_EQ(copy, text);
    EXPECT_EQ(copy, MarkdownText(u"a"_s, false));
    EXPECT_NE(copy, MarkdownText(u"a"_s, true));
}

TEST(MarkdownText, showsItsBlocksToViews)
{
    const MarkdownText text(u"a"_s, false);
    const QMetaObject &meta = MarkdownText::staticMetaObject;
    const QVariant blocks = meta.property(meta.indexOfProperty("blocks")).readOnGadget(&text);
    EXPECT_EQ(blocks.toList().size(), 1);
    const QMetaObject &blockMeta = MarkdownBlock::staticMetaObject;
    const auto block = blocks.toList().front().value<MarkdownBlock>();
    EXPECT_EQ(blockMeta.property(blockMeta.indexOfProperty("html")).readOnGadget(&block).toString(), u"<p>a</p>"_s);
}

TEST(MarkdownText, doesWithAnyTextOfAMegabyte)
{
    for (const QString &piece :
         { u"*a *a "_s, u"`"_s, u"(((("_s, u"a.a.a.a"_s, u"*"_s, u"http://a("_s, u"<"_s, u"\n"_s })
        EXPECT_FALSE(MarkdownText(piece.repeated(1'000'000 / piece.size()), false).text().isEmpty());
}

} // namespace
} // namespace vantry::test
