#include "transcripts/TranscriptMessage.h"

#include <gtest/gtest.h>

namespace vantry::test {
namespace {

QString summary(const char *name, std::string_view input)
{
    return toolSummary(QString::fromLatin1(name), input);
}

TEST(TranscriptMessage, summarisesEachTool)
{
    EXPECT_EQ(summary("Read", R"({"file_path":"/a/b/c.cpp"})"), QStringLiteral("b/c.cpp"));
    EXPECT_EQ(summary("Write", R"({"content":"x","file_path":"c.cpp"})"), QStringLiteral("c.cpp"));
    EXPECT_EQ(summary("Edit", R"({"file_path":"/c.cpp"})"), QStringLiteral("/c.cpp"));
    EXPECT_EQ(summary("Bash", R"({"command":"ls","description":"List"})"), QStringLiteral("List"));
    EXPECT_EQ(summary("Bash", R"({"command":"ls\ncd","description":""})"), QStringLiteral("ls"));
    EXPECT_EQ(summary("Bash", R"({"command":"ls\r\ncd"})"), QStringLiteral("ls"));
    EXPECT_EQ(summary("Glob", R"({"pattern":"*.cpp"})"), QStringLiteral("*.cpp"));
    EXPECT_EQ(summary("Grep", R"({"pattern":"a\"b"})"), QStringLiteral("\"a\"b\""));
    EXPECT_EQ(summary("Task", R"({"description":"Do","prompt":"p"})"), QStringLiteral("Do"));
    EXPECT_EQ(summary("WebSearch", R"({"query":"q","url":"u"})"), QStringLiteral("q"));
    EXPECT_EQ(summary("WebFetch", R"({"query":5,"url":"u"})"), QStringLiteral("u"));
    EXPECT_EQ(summary("Other", R"({"description":"d"})"), QString());
    EXPECT_EQ(summary("bash", R"({"command":"ls"})"), QString());
}

TEST(TranscriptMessage, isTheNameWithoutInput)
{
    EXPECT_EQ(toolSummary(QStringLiteral("Bash"), std::nullopt), QStringLiteral("Bash"));
    EXPECT_EQ(toolSummary(QStringLiteral("Other"), std::nullopt), QStringLiteral("Other"));
}

TEST(TranscriptMessage, isEmptyWhereTheKeyIsMissingOrOfAnotherKind)
{
    for (const auto *name : { "Read", "Write", "Edit", "Bash", "Glob", "Grep", "Task", "WebSearch", "WebFetch" }) {
        EXPECT_EQ(summary(name, "{}"), QString()) << name;
        EXPECT_EQ(summary(name, R"({"file_path":1,"command":[],"pattern":null,"description":{},"query":1,"url":2})"),
                  QString())
            << name;
    }
    EXPECT_EQ(summary("Glob", R"({"pattern":"a","pattern":1})"), QString());
    EXPECT_EQ(summary("Glob", R"({"x":{"pattern":"no"},"p\u0061ttern":"yes"})"), QStringLiteral("yes"));
}

TEST(TranscriptMessage, shortensWhatHasMoreThanSixtyCharacters)
{
    const auto with = [](const std::string &key, const QString &text) {
        return "{\"" + key + "\":\"" + text.toStdString() + "\"}";
    };
    const auto command = [&](const QString &text) { return summary("Bash", with("command", text)); };
    EXPECT_EQ(command(QString(60, u'x')), QString(60, u'x'));
    EXPECT_EQ(command(QString(61, u'x')), QString(57, u'x') + QStringLiteral("..."));
    const QString family = QStringLiteral("👩‍👩‍👧");
    EXPECT_EQ(command(family.repeated(60)), family.repeated(60));
    EXPECT_EQ(command(family.repeated(61)), family.repeated(57) + QStringLiteral("..."));

    const QString longText(61, u'y');
    const QString expected = QString(57, u'y') + QStringLiteral("...");
    EXPECT_EQ(summary("WebFetch", with("url", longText)), expected);
    EXPECT_EQ(summary("WebSearch", with("query", longText)), expected);
    // A description goes out as it is.
    EXPECT_EQ(summary("Bash", with("description", longText)), longText);
}

TEST(TranscriptMessage, keepsTheLastTwoPartsOfAPath)
{
    for (const auto &[path, expected] :
         std::initializer_list<std::pair<const char *, const char *>> { { "/a/b/c", "b/c" },
                                                                        { "/a/b", "a/b" },
                                                                        { "/a", "/a" },
                                                                        { "a/b", "a/b" },
                                                                        { "a", "a" },
                                                                        { "", "" },
                                                                        { "/", "/" },
                                                                        { "a/b/", "b/" },
                                                                        { "a//b", "/b" } })
        EXPECT_EQ(shortPath(QString::fromLatin1(path)), QString::fromLatin1(expected)) << path;
}

} // namespace
} // namespace vantry::test
