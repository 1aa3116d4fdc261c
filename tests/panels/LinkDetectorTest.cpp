#include "panels/LinkDetector.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <random>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// "shown text -> URL" of each link.
QStringList linksOf(const QString &text)
{
    QStringList links;
    LinkDetector detector(text);
    while (const auto link = detector.next())
        links.append(text.sliced(link->begin, link->end - link->begin) + u" -> " + link->url.toString());
    return links;
}

QStringList shownOf(const QString &text)
{
    QStringList shown;
    LinkDetector detector(text);
    while (const auto link = detector.next())
        shown.append(text.sliced(link->begin, link->end - link->begin));
    return shown;
}

TEST(LinkDetector, findsUrlsWithASchemeOfTheWeb)
{
    EXPECT_EQ(linksOf(u"see http://a.example/b?c=d#e now"_s),
              QStringList { u"http://a.example/b?c=d#e -> http://a.example/b?c=d#e"_s });
    EXPECT_EQ(shownOf(u"https://localhost:3000 http://127.0.0.1:8080/x HTTPS://A.B http://[::1]:80/y"_s),
              (QStringList { u"https://localhost:3000"_s, u"http://127.0.0.1:8080/x"_s, u"HTTPS://A.B"_s,
                             u"http://[::1]:80/y"_s }));
    EXPECT_EQ(shownOf(u"url=https://x.org url:https://y.org"_s),
              (QStringList { u"https://x.org"_s, u"https://y.org"_s }));
}

TEST(LinkDetector, findsFilesByTheirUrl)
{
    EXPECT_EQ(linksOf(u"in file:///tmp/a.txt."_s), QStringList { u"file:///tmp/a.txt -> file:///tmp/a.txt"_s });
    EXPECT_EQ(linksOf(u"file://x file:x"_s), QStringList());
}

TEST(LinkDetector, leavesOtherSchemes)
{
    EXPECT_EQ(linksOf(u"ftp://x.org/a javascript://x.org data:text/html vscode://x.org xhttp://y git+https://z.org"_s),
              QStringList());
    EXPECT_EQ(linksOf(u"http:// https:///x http://"_s), QStringList());
}

TEST(LinkDetector, findsDomainsOfTheWeb)
{
    EXPECT_EQ(linksOf(u"www.example.xyz"_s), QStringList { u"www.example.xyz -> http://www.example.xyz"_s });
    EXPECT_EQ(linksOf(u"www.example.de/a?b"_s), QStringList { u"www.example.de/a?b -> http://www.example.de/a?b"_s });
    EXPECT_EQ(linksOf(u"www. www.x www.txt"_s), QStringList());
}

TEST(LinkDetector, findsADomainWithAPath)
{
    EXPECT_EQ(linksOf(u"docs.rs/serde"_s), QStringList { u"docs.rs/serde -> http://docs.rs/serde"_s });
    EXPECT_EQ(shownOf(u"a.example.co.uk:8080/b, x.museum/y"_s),
              (QStringList { u"a.example.co.uk:8080/b"_s, u"x.museum/y"_s }));
    EXPECT_EQ(shownOf(u"folder.bak/ a.b/c python3.11/lib"_s), QStringList());
}

TEST(LinkDetector, findsFiveKindsOfBareDomains)
{
    EXPECT_EQ(shownOf(u"a.com b.org c.net d.io e.dev F.COM g.com:81"_s),
              (QStringList { u"a.com"_s, u"b.org"_s, u"c.net"_s, u"d.io"_s, u"e.dev"_s, u"F.COM"_s, u"g.com:81"_s }));
    EXPECT_EQ(shownOf(u"a.com?q=1 a.com#f a.com/ a.com/."_s),
              (QStringList { u"a.com?q=1"_s, u"a.com#f"_s, u"a.com/"_s, u"a.com/"_s }));
    EXPECT_EQ(shownOf(u"a.de b.info c.xyz d.computer"_s), QStringList());
}

TEST(LinkDetector, takesNoFileForADomain)
{
    EXPECT_EQ(shownOf(u"README.md main.rs Cargo.toml index.d.ts lib.so.1 v1.2.3 e.g. i.e. a...b x.com.txt"_s),
              QStringList());
    EXPECT_EQ(
        shownOf(u"src/foo.io/x.c ./a.dev ../b.dev/c /etc/d.com ~/e.org @f.io $g.io .h.com a_b.com b.com_c -x.com"_s),
        QStringList());
    EXPECT_EQ(shownOf(u"socket.io(server) x.net@y"_s), QStringList());
    EXPECT_EQ(shownOf(u"a-.com -a.com a..com .com com"_s), QStringList());
}

TEST(LinkDetector, findsEmailAddresses)
{
    EXPECT_EQ(linksOf(u"write to ada.l+x@example.co.uk."_s),
              QStringList { u"ada.l+x@example.co.uk -> mailto:ada.l+x@example.co.uk"_s });
    EXPECT_EQ(linksOf(u"<mailto:a@b.org>"_s), QStringList { u"mailto:a@b.org -> mailto:a@b.org"_s });
    EXPECT_EQ(linksOf(u"git@example.org:me/repo.git a@b a@@b.org a@b.1 pkg@1.2.3 a@b.org@c.org mailto:x"_s),
              QStringList());
}

TEST(LinkDetector, leavesOutPunctuationBehindALink)
{
    EXPECT_EQ(shownOf(u"http://a.b/c. http://a.b/d, http://a.b/e; http://a.b/f: http://a.b/g! http://a.b/h?"_s),
              (QStringList { u"http://a.b/c"_s, u"http://a.b/d"_s, u"http://a.b/e"_s, u"http://a.b/f"_s,
                             u"http://a.b/g"_s, u"http://a.b/h"_s }));
    EXPECT_EQ(shownOf(u"http://a.b/c?!.. http://a.b/d*_~ http://a.b/e\u2026 a.com... 'http://a.b/f'"_s),
              (QStringList { u"http://a.b/c"_s, u"http://a.b/d"_s, u"http://a.b/e"_s, u"a.com"_s, u"http://a.b/f"_s }));
}

TEST(LinkDetector, leavesOutBracketsWithoutPartner)
{
    EXPECT_EQ(shownOf(u"(see http://a.b/c) [http://a.b/d] {http://a.b/e}"_s),
              (QStringList { u"http://a.b/c"_s, u"http://a.b/d"_s, u"http://a.b/e"_s }));
    EXPECT_EQ(shownOf(u"http://a.b/c_(d) http://a.b/[e]/f http://a.b/((g)h)i)"_s),
              (QStringList { u"http://a.b/c_(d)"_s, u"http://a.b/[e]/f"_s, u"http://a.b/((g)h)i"_s }));
    EXPECT_EQ(shownOf(u"http://a.b/c( http://a.b/d(e http://a.b/f(g] http://a.b/(h]i)"_s),
              (QStringList { u"http://a.b/c"_s, u"http://a.b/d"_s, u"http://a.b/f"_s, u"http://a.b/"_s }));
    EXPECT_EQ(shownOf(u"[text](http://a.b/c)(http://a.b/d) (http://a.b/(e).)"_s),
              (QStringList { u"http://a.b/c"_s, u"http://a.b/d"_s, u"http://a.b/(e)"_s }));
}

TEST(LinkDetector, endsAtMarksThatNoUrlHas)
{
    EXPECT_EQ(
        shownOf(
            u"<http://a.b/c> \"http://a.b/d\" |http://a.b/e| http://a.b/f`g http://a.b/h\\n \u201chttp://a.b/i\u201d"_s),
        (QStringList { u"http://a.b/c"_s, u"http://a.b/d"_s, u"http://a.b/e"_s, u"http://a.b/f"_s, u"http://a.b/h"_s,
                       u"http://a.b/i"_s }));
    EXPECT_EQ(shownOf(u"['http://a.b/c','http://a.b/d'] http://a.b/Murphy's"_s),
              (QStringList { u"http://a.b/c"_s, u"http://a.b/d"_s, u"http://a.b/Murphy's"_s }));
    EXPECT_EQ(shownOf(u"http://a.b/c\u202ed http://a.b/e\u200bf"_s),
              (QStringList { u"http://a.b/c"_s, u"http://a.b/e"_s }));
}

TEST(LinkDetector, findsLinksAmongOtherScripts)
{
    EXPECT_EQ(shownOf(u"请看example.com。也看http://a.b/路径，好"_s),
              (QStringList { u"example.com"_s, u"http://a.b/路径"_s }));
    EXPECT_EQ(shownOf(u"émail.com ünhttp://x.org"_s), QStringList());
    EXPECT_EQ(shownOf(u"http://münchen.example/ä"_s), QStringList { u"http://münchen.example/ä"_s });
}

TEST(LinkDetector, leavesWhatGivesNoUrl)
{
    EXPECT_EQ(linksOf(u"http://[::1 http://a:b:c/ http://a.b:99999999/"_s), QStringList());
    // What stands behind it is looked at again.
    EXPECT_EQ(shownOf(u"http://a:b:c/ a.com"_s), QStringList { u"a.com"_s });
}

TEST(LinkDetector, looksAtEachCharacterAFewTimes)
{
    for (const QString &piece :
         { u"a.a.a.a."_s,   u"(((("_s,       u"http://a("_s, u"http://a)"_s, u"[http://a/]"_s, u"a@"_s,
           u"a@a.bb@"_s,    u"http://a:"_s,  u"a.bb/!"_s,    u"a.bb/("_s,    u"www."_s,        u"mailto:"_s,
           u"mailto:a@"_s,  u"http://"_s,    u"a.com:"_s,    u"a.com:1"_s,   u"a.com?!"_s,     u"http://a!!!!"_s,
           u"'http://a'"_s, u"http://a%("_s, u"a-"_s,        u"a.com("_s,    u"http://["_s }) {
        const QString text = piece.repeated(1'000'000 / piece.size());
        LinkDetector detector(text);
        while (detector.next()) {
        }
        EXPECT_LE(detector.steps(), 8 * text.size()) << qPrintable(piece);
    }
}

TEST(LinkDetector, yieldsLinksInOrderAndNeverAnEmptyOne)
{
    const std::vector<QString> pieces { u"http://"_s, u"a"_s, u".com"_s,     u"@"_s, u"/"_s, u"("_s, u")"_s,
                                        u"["_s,       u"]"_s, u"www."_s,     u" "_s, u":"_s, u"8"_s, u"?"_s,
                                        u"mailto:"_s, u"é"_s, u"file:///"_s, u"."_s, u"'"_s };
    std::mt19937 random(3);
    for (int round = 0; round < 50'000; ++round) {
        QString text;
        for (auto length = random() % 24; length > 0; --length)
            text += pieces[random() % pieces.size()];
        qsizetype last = 0;
        LinkDetector detector(text);
        while (const auto link = detector.next()) {
            ASSERT_GE(link->begin, last) << qPrintable(text);
            ASSERT_GT(link->end, link->begin) << qPrintable(text);
            ASSERT_LE(link->end, text.size()) << qPrintable(text);
            ASSERT_TRUE(link->url.isValid()) << qPrintable(text);
            last = link->end;
        }
    }
}

} // namespace
} // namespace vantry::test
