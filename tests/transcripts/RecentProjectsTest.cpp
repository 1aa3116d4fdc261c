#include "transcripts/RecentProjects.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>

namespace vantry {
namespace {

using testing::ElementsAre;
using testing::Eq;
using testing::Optional;
using testing::SizeIs;

constexpr std::int64_t noLimit = 1'000;

std::string userLine(const std::string &content)
{
    return R"({"type":"user","message":{"content":)" + content + "}}\n";
}

class RecentProjectsTest : public testing::Test
{
protected:
    RecentProjectsTest() { EXPECT_TRUE(QDir().mkpath(root())); }

    [[nodiscard]] QString home() const { return m_home.path(); }
    [[nodiscard]] QString root() const { return home() + QStringLiteral("/.claude/projects"); }
    /// Makes a directory and the folder of its transcripts, and gives the folder's name.
    [[nodiscard]] QString makeProject(const QString &name) const
    {
        const QString directory = m_home.filePath(name);
        EXPECT_TRUE(QDir().mkpath(directory));
        QString folder = directory;
        folder.replace(u'/', u'-');
        EXPECT_TRUE(QDir(root()).mkpath(folder));
        return folder;
    }
    /// Writes a transcript that was changed so many seconds after the others' beginning.
    void write(const QString &folder, const QString &id, int second, const std::string &text = {}) const
    {
        const QString path = root() + u'/' + folder + u'/' + id + QStringLiteral(".jsonl");
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.data(), static_cast<qint64>(text.size()));
        file.close();
        setDate(path, second);
    }
    static void setDate(const QString &path, int second)
    {
        const std::array<timespec, 2> times { timespec { 0, UTIME_OMIT }, timespec { 1'700'000'000 + second, 250 } };
        ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times.data(), 0), 0);
    }
    [[nodiscard]] static Date date(int second)
    {
        return Date(std::chrono::seconds(1'700'000'000 + second) + std::chrono::nanoseconds(250));
    }
    [[nodiscard]] QList<RecentProject> load(std::int64_t limit = noLimit) const
    {
        return RecentProjects(home()).loadRecentProjects(limit);
    }
    [[nodiscard]] QStringList names(std::int64_t limit = noLimit) const
    {
        QStringList all;
        for (const RecentProject &project : load(limit))
            all.append(project.name);
        return all;
    }
    [[nodiscard]] static QStringList idsOf(const RecentProject &project)
    {
        QStringList ids;
        for (const RecentSession &session : project.sessions)
            ids.append(session.id);
        return ids;
    }
    /// The first message of a transcript with this text.
    [[nodiscard]] std::optional<QString> firstMessage(const std::string &text) const
    {
        write(makeProject(QStringLiteral("p")), QStringLiteral("s"), 0, text);
        const QList<RecentProject> projects = load();
        EXPECT_THAT(projects, SizeIs(1));
        return projects.at(0).sessions.at(0).firstMessage;
    }

private:
    QTemporaryDir m_home;
};

TEST_F(RecentProjectsTest, areNoneWithoutAnAgent)
{
    EXPECT_TRUE(RecentProjects(home() + QStringLiteral("/missing")).loadRecentProjects(12).isEmpty());
    EXPECT_TRUE(load().isEmpty());
}

TEST_F(RecentProjectsTest, areReadFromFoldersAndFiles)
{
    const QString folder = makeProject(QStringLiteral("my-src/van-try"));
    write(folder, QStringLiteral("older"), 1, userLine("\"Hello\""));
    write(folder, QStringLiteral("newer"), 2);

    const QList<RecentProject> projects = load();

    ASSERT_THAT(projects, SizeIs(1));
    EXPECT_EQ(projects[0].id, folder);
    EXPECT_EQ(projects[0].path, home() + QStringLiteral("/my-src/van-try"));
    EXPECT_EQ(projects[0].name, QStringLiteral("van-try"));
    EXPECT_EQ(projects[0].lastUsed, date(2));
    ASSERT_THAT(projects[0].sessions, SizeIs(2));
    EXPECT_EQ(projects[0].sessions[0].id, QStringLiteral("newer"));
    EXPECT_EQ(projects[0].sessions[0].lastUsed, date(2));
    EXPECT_EQ(projects[0].sessions[0].firstMessage, std::nullopt);
    EXPECT_EQ(projects[0].sessions[1].id, QStringLiteral("older"));
    EXPECT_THAT(projects[0].sessions[1].firstMessage, Optional(Eq(QStringLiteral("Hello"))));
}

TEST_F(RecentProjectsTest, leaveOutAProjectWhoseDirectoryHasGone)
{
    const QString folder = makeProject(QStringLiteral("gone"));
    write(folder, QStringLiteral("s"), 0, userLine("\"x\""));
    ASSERT_TRUE(QDir(home()).rmdir(QStringLiteral("gone")));

    EXPECT_TRUE(load().isEmpty());
}

TEST_F(RecentProjectsTest, leaveOutAFolderWithoutTranscript)
{
    const QString folder = makeProject(QStringLiteral("empty"));
    QFile file(root() + u'/' + folder + QStringLiteral("/notes.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));

    EXPECT_TRUE(load().isEmpty());
}

TEST_F(RecentProjectsTest, leaveOutWhatIsNoFolderAndNoFile)
{
    const QString folder = makeProject(QStringLiteral("p"));
    QFile file(root() + QStringLiteral("/-usr"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const QString inside = root() + u'/' + folder + u'/';
    ASSERT_TRUE(QDir().mkpath(inside + QStringLiteral("folder.jsonl")));
    ASSERT_EQ(::mkfifo(QFile::encodeName(inside + QStringLiteral("fifo.jsonl")).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/zero"), inside + QStringLiteral("device.jsonl")));
    ASSERT_TRUE(QFile::link(QStringLiteral("missing"), inside + QStringLiteral("broken.jsonl")));
    EXPECT_TRUE(load().isEmpty());

    write(folder, QStringLiteral("s"), 0);
    ASSERT_THAT(load(), SizeIs(1));
    EXPECT_THAT(load()[0].sessions, SizeIs(1));
}

TEST_F(RecentProjectsTest, listTheFiveNewestSessions)
{
    const QString folder = makeProject(QStringLiteral("p"));
    for (int second : { 3, 6, 1, 7, 2, 5, 4 })
        write(folder, QString::number(second), second);

    const QList<RecentProject> projects = load();

    EXPECT_THAT(idsOf(projects.at(0)), ElementsAre(u"7", u"6", u"5", u"4", u"3"));
    EXPECT_EQ(projects.at(0).lastUsed, date(7));
}

TEST_F(RecentProjectsTest, listTheProjectsUsedLast)
{
    for (int second = 0; second < 13; ++second)
        write(makeProject(QStringLiteral("p%1").arg(second)), QStringLiteral("s"), (second * 5) % 13);

    const QStringList all = names();
    ASSERT_THAT(all, SizeIs(13));
    EXPECT_EQ(names(12), all.first(12));
    EXPECT_EQ(all.first(), QStringLiteral("p5")) << "5 * 5 is 12 modulo 13";
    EXPECT_EQ(all.last(), QStringLiteral("p0"));
}

TEST_F(RecentProjectsTest, goneDirectoriesDoNotCountTowardsTheLimit)
{
    write(makeProject(QStringLiteral("old")), QStringLiteral("s"), 1);
    write(makeProject(QStringLiteral("gone")), QStringLiteral("s"), 2);
    ASSERT_TRUE(QDir(home()).rmdir(QStringLiteral("gone")));

    EXPECT_THAT(names(1), ElementsAre(u"old"));
}

TEST_F(RecentProjectsTest, areNoneForALimitThatAllowsNone)
{
    write(makeProject(QStringLiteral("p")), QStringLiteral("s"), 0);
    EXPECT_TRUE(load(0).isEmpty());
    EXPECT_TRUE(load(-1).isEmpty());
    EXPECT_TRUE(load(INT64_MIN).isEmpty());
    EXPECT_THAT(load(INT64_MAX), SizeIs(1));
}

TEST_F(RecentProjectsTest, ofTheSameMomentStandInTheOrderOfTheirNames)
{
    for (const char16_t letter : { u'c', u'a', u'b' })
        write(makeProject(QString(letter)), QStringLiteral("s"), 0);
    const QString folder = makeProject(QStringLiteral("a"));
    for (const char16_t letter : { u'z', u'x', u'y' })
        write(folder, QString(letter), 0);

    EXPECT_THAT(names(), ElementsAre(u"a", u"b", u"c"));
    EXPECT_THAT(idsOf(load().at(0)), ElementsAre(u"s", u"x", u"y", u"z"));
}

TEST_F(RecentProjectsTest, aDirectoryThatTheNameHidesIsNamedByTheNewestTranscript)
{
    const QString directory = home() + QStringLiteral("/my.src/van_try é");
    ASSERT_TRUE(QDir().mkpath(directory));
    const QString folder = QStringLiteral("-nowhere-my-src-van-try--");
    ASSERT_TRUE(QDir(root()).mkpath(folder));
    write(folder, QStringLiteral("old"), 1, R"({"cwd":"/usr"})");
    const std::string modeLine = "{\"type\":\"mode\"}\n{\"cwd\":7}\nnonsense\n";
    write(folder, QStringLiteral("new"), 2,
          modeLine + R"({"type":"user","cwd":")" + directory.toStdString() + "\"}\n{\"cwd\":\"/usr\"}\n");

    const QList<RecentProject> projects = load();

    ASSERT_THAT(projects, SizeIs(1));
    EXPECT_EQ(projects[0].id, folder);
    EXPECT_EQ(projects[0].path, directory);
    EXPECT_EQ(projects[0].name, QStringLiteral("van_try é"));
}

TEST_F(RecentProjectsTest, aNamedDirectoryHasToExistAndToBeOne)
{
    const QString folder = QStringLiteral("-nowhere-x");
    ASSERT_TRUE(QDir(root()).mkpath(folder));
    for (const char *line : { R"({"cwd":"/nowhere/x"})", R"({"cwd":"usr"})", R"({"cwd":""})", R"({"cwd":"/dev/null"})",
                              R"({"cwd":"/usr\u0000"})", R"({"cwd":"/etc/passwd"})", "", "{}", "\xFF" }) {
        write(folder, QStringLiteral("s"), 0, line);
        EXPECT_TRUE(load().isEmpty()) << line;
    }
}

TEST_F(RecentProjectsTest, aNamedDirectoryIsLookedForInTheFirst64KilobytesAlone)
{
    const QString folder = QStringLiteral("-nowhere-x");
    ASSERT_TRUE(QDir(root()).mkpath(folder));
    const std::string line = "{\"cwd\":\"/usr\"}\n";
    write(folder, QStringLiteral("s"), 0, std::string(65'536 - line.size(), '\n') + line);
    EXPECT_THAT(names(), ElementsAre(u"usr"));
    write(folder, QStringLiteral("s"), 0, std::string(65'536, '\n') + line);
    EXPECT_TRUE(load().isEmpty());
}

TEST_F(RecentProjectsTest, nameOfTheRootIsTheRoot)
{
    ASSERT_TRUE(QDir(root()).mkpath(QStringLiteral("-")));
    write(QStringLiteral("-"), QStringLiteral("s"), 0);

    ASSERT_THAT(load(), SizeIs(1));
    EXPECT_EQ(load()[0].path, QStringLiteral("/"));
    EXPECT_EQ(load()[0].name, QStringLiteral("/"));
}

TEST_F(RecentProjectsTest, firstMessageIsTheFirstUsersText)
{
    EXPECT_THAT(firstMessage("\n  \n" + std::string(R"({"type":"assistant","message":{"content":"no"}})") +
                             "\n[1]\n{bad\n" + R"({"type":"user","message":"no"})" + "\n" +
                             userLine("[{\"type\":\"text\",\"text\":\"no\"}]") + userLine("\" \\n\\t \"") +
                             userLine("\" \\nHello\\nyou \"") + userLine("\"second\"")),
                Optional(Eq(QStringLiteral("Hello\nyou"))));
    EXPECT_EQ(firstMessage(""), std::nullopt);
    EXPECT_EQ(firstMessage("{}\n"), std::nullopt);
}

TEST_F(RecentProjectsTest, firstMessageIsNotCleaned)
{
    EXPECT_THAT(firstMessage(userLine("\"<system-reminder>x</system-reminder>\"")),
                Optional(Eq(QStringLiteral("<system-reminder>x</system-reminder>"))));
}

TEST_F(RecentProjectsTest, longFirstMessageIsShortened)
{
    EXPECT_THAT(firstMessage(userLine('"' + std::string(80, 'x') + '"')), Optional(Eq(QString(80, u'x'))));
    EXPECT_THAT(firstMessage(userLine('"' + std::string(81, 'x') + '"')),
                Optional(Eq(QString(77, u'x') + QStringLiteral("..."))));
}

TEST_F(RecentProjectsTest, firstMessageIsCountedInUserPerceivedCharacters)
{
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
    std::string text;
    for (int count = 0; count < 80; ++count)
        text += family;
    EXPECT_THAT(firstMessage(userLine('"' + text + '"')), Optional(Eq(QString::fromStdString(text))));
    EXPECT_THAT(firstMessage(userLine('"' + text + "x\"")),
                Optional(Eq(QString::fromStdString(text.substr(0, 77 * family.size()) + "..."))));
}

TEST_F(RecentProjectsTest, firstMessageComesFromTheFirst8192BytesAlone)
{
    const std::string line = userLine("\"Hello\"");
    EXPECT_THAT(firstMessage(std::string(8'192 - line.size(), '\n') + line), Optional(Eq(QStringLiteral("Hello"))));
    EXPECT_THAT(firstMessage(std::string(8'193 - line.size(), '\n') + line), Optional(Eq(QStringLiteral("Hello"))))
        << "the line feed may be missing";
    EXPECT_EQ(firstMessage(std::string(8'194 - line.size(), '\n') + line), std::nullopt);
    EXPECT_EQ(firstMessage(std::string(10'000, '\n') + line), std::nullopt);
}

TEST_F(RecentProjectsTest, firstMessageIsMissingWhereTheLimitFallsInACharacter)
{
    const std::string line = userLine("\"Hello\"");
    const std::string behind = "\u00E9\u00E9";
    EXPECT_THAT(firstMessage(line + std::string(8'190 - line.size(), ' ') + behind),
                Optional(Eq(QStringLiteral("Hello"))));
    EXPECT_EQ(firstMessage(line + std::string(8'191 - line.size(), ' ') + behind), std::nullopt);
    EXPECT_EQ(firstMessage(line + "\xFF\n"), std::nullopt);
}

TEST_F(RecentProjectsTest, realTranscriptsHaveTheirFirstMessage)
{
    QFile file(QStringLiteral(VANTRY_FIXTURES "/transcripts/bash-allowed.jsonl"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_THAT(firstMessage(file.readAll().toStdString()), Optional(Eq(QStringLiteral("SCENARIO:bash please"))));
}

TEST_F(RecentProjectsTest, unreadableTranscriptHasNoFirstMessage)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads everything";
    const QString folder = makeProject(QStringLiteral("p"));
    write(folder, QStringLiteral("s"), 0, userLine("\"Hello\""));
    ASSERT_TRUE(QFile::setPermissions(root() + u'/' + folder + QStringLiteral("/s.jsonl"), {}));

    ASSERT_THAT(load(), SizeIs(1));
    EXPECT_EQ(load()[0].sessions[0].firstMessage, std::nullopt);
}

TEST_F(RecentProjectsTest, areFoundAmongVeryManyTranscripts)
{
    const QString folder = makeProject(QStringLiteral("p"));
    for (int second = 0; second < 2'000; ++second)
        write(folder, QString::number(second), second);

    ASSERT_THAT(load(), SizeIs(1));
    EXPECT_EQ(load()[0].sessions[0].id, QStringLiteral("1999"));
}

} // namespace
} // namespace vantry
