#include "panels/OpenableLink.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

std::optional<QString> opened(const QString &link)
{
    const auto url = openableLink(link);
    return url ? std::optional(url->toString()) : std::nullopt;
}

TEST(OpenableLinkTest, webAddressesOpen)
{
    EXPECT_EQ(opened(u"https://example.com/a?b=c#d"_s), u"https://example.com/a?b=c#d"_s);
    EXPECT_EQ(opened(u"HTTP://example.com"_s), u"http://example.com"_s);
}

TEST(OpenableLinkTest, mailAddressesOpen)
{
    EXPECT_EQ(opened(u"mailto:ann@example.com"_s), u"mailto:ann@example.com"_s);
}

TEST(OpenableLinkTest, otherSchemesDoNotOpen)
{
    for (const QString &link :
         { u"javascript:alert(1)"_s, u"data:text/html,x"_s, u"ftp://example.com/a"_s, u"smb://host/share"_s,
           u"vscode://file/tmp"_s, u"x-terminal:ls"_s, u"qrc:/qt/qml/a"_s })
        EXPECT_FALSE(openableLink(link)) << link.toStdString();
}

TEST(OpenableLinkTest, addressesWithoutAHostDoNotOpen)
{
    for (const QString &link :
         { u"http://"_s, u"https:///etc/passwd"_s, u"http:"_s, u"mailto:"_s, u""_s, u"http://[broken"_s })
        EXPECT_FALSE(openableLink(link)) << link.toStdString();
}

TEST(OpenableLinkTest, filesAndFoldersOpenWhenTheyExist)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"a b%20#c.txt"_s));
    ASSERT_TRUE(file.open(QFile::WriteOnly));

    const QUrl url = QUrl::fromLocalFile(file.fileName());
    EXPECT_EQ(openableLink(file.fileName()), url);
    EXPECT_EQ(openableLink(url.toString(QUrl::FullyEncoded)), url);
    EXPECT_EQ(openableLink(u"file://localhost"_s + url.path(QUrl::FullyEncoded)), url);
    EXPECT_EQ(openableLink(folder.path()), QUrl::fromLocalFile(folder.path()));
    EXPECT_FALSE(openableLink(folder.filePath(u"missing"_s)));
    EXPECT_FALSE(openableLink(u"file://"_s + folder.filePath(u"missing"_s)));
}

TEST(OpenableLinkTest, aPlaceBehindAFileIsDropped)
{
    const QTemporaryDir folder;

    EXPECT_EQ(openableLink(u"file://"_s + folder.path() + u"#L10"_s), QUrl::fromLocalFile(folder.path()));
    EXPECT_EQ(openableLink(u"file://"_s + folder.path() + u"?x=1"_s), QUrl::fromLocalFile(folder.path()));
}

TEST(OpenableLinkTest, filesOfOtherMachinesDoNotOpen)
{
    EXPECT_FALSE(openableLink(u"file://server/etc/passwd"_s));
    EXPECT_FALSE(openableLink(u"//server/share"_s));
}

TEST(OpenableLinkTest, relativePathsDoNotOpen)
{
    EXPECT_FALSE(openableLink(u"CMakeLists.txt"_s));
    EXPECT_FALSE(openableLink(u"file:CMakeLists.txt"_s));
    EXPECT_FALSE(openableLink(u"."_s));
}

TEST(OpenableLinkTest, whatWouldBlockItsReaderDoesNotOpen)
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(u"pipe"_s);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);

    EXPECT_FALSE(openableLink(pipe));
    EXPECT_FALSE(openableLink(u"/dev/zero"_s));
    EXPECT_FALSE(openableLink(u"/tmp"_s + QChar(QChar::Null) + u"x"_s));
}

} // namespace
} // namespace vantry
