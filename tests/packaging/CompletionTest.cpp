#include "RunProgram.h"
#include "app/CommandTable.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace vantry::test {
namespace {

using ::testing::TestWithParam;
using ::testing::UnorderedElementsAre;
using ::testing::UnorderedElementsAreArray;

/// A shell, with the file that it completes by, and a `vantry` that knows some sessions.
class Completion : public TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QDir(m_scratch.path()).mkpath("bin") && QDir(m_scratch.path()).mkpath("project/folder"));
        write("project/fofile", "");
        write("status", "2 sessions, 1 needs an answer.\n"
                        "  ID        STATUS            PROJECT  BRANCH  UPDATED  LAST\n"
                        "! a1b2c3d4  Needs permission  shop     main    5m ago   a: \"b\" 'c' [d]\n"
                        "  f0f0f0f0  Ready             shop             1m ago   $(touch broken)\n");
        write("recent", "ID        UPDATED  PROJECT  BRANCH  SUMMARY\n"
                        "b1b2c3d4  5m ago   shop     main    Mended it\n");
        writeProgram("vantry", "exec cat \"$SCRATCH/$1\"");
    }

    void write(const QString &name, const QByteArray &text) const
    {
        QFile file(m_scratch.filePath(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(text);
    }

    void writeProgram(const QString &name, const QByteArray &script) const
    {
        write("bin/" + name, "#!/bin/sh\n" + script + '\n');
        ASSERT_TRUE(QFile::setPermissions(m_scratch.filePath("bin/" + name), QFile::ReadOwner | QFile::ExeOwner));
    }

    /// What is offered at the end of each line: words alone, without what would follow them.
    [[nodiscard]] QList<QStringList> offeredAt(const QStringList &lines) const
    {
        const QString shell = GetParam();
        const QString bare = shell == "zsh" ? "-f" : shell == "fish" ? "--no-config" : "--norc";
        const QString file = shell == "zsh" ? QStringLiteral("_vantry") : QString("vantry." + shell);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PATH", m_scratch.filePath("bin") + ':' + environment.value("PATH"));
        environment.insert("HOME", m_scratch.path());
        environment.insert("LC_ALL", "C.UTF-8");
        environment.insert("TERM", "dumb");
        environment.insert("SCRATCH", m_scratch.path());
        const ProgramResult result = runProgram(
            shell,
            { bare, QStringLiteral(VANTRY_COMPLETERS "/complete.") + shell, QStringLiteral(VANTRY_MADE "/") + file },
            lines.join('\n').toUtf8() + '\n', environment, m_scratch.filePath("project"));
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        QList<QStringList> offered { {} };
        for (const QString &line : result.out.split('\n', Qt::SkipEmptyParts)) {
            if (line == "=")
                offered.append(QStringList());
            else
                offered.last().append(bareWord(line));
        }
        offered.removeLast();
        EXPECT_EQ(offered.size(), lines.size());
        offered.resize(lines.size());
        return offered;
    }

    [[nodiscard]] QStringList offeredAt(const QString &line) const { return offeredAt(QStringList { line }).first(); }
    [[nodiscard]] QString scratch() const { return m_scratch.path(); }

private:
    static QString bareWord(const QString &line)
    {
        QString word = line.section('\t', 0, 0);
        while (word.endsWith('/') || word.endsWith('='))
            word.chop(1);
        return word.section('=', -1);
    }

    QTemporaryDir m_scratch;
};

template <typename Entries>
QStringList namesOf(const Entries &entries)
{
    QStringList names;
    for (const auto &entry : entries)
        names.append(entry.name.toString());
    return names;
}

QStringList permissionModes()
{
    QStringList names;
    for (const AgentPermissionMode mode : allAgentPermissionModes)
        names.append(rawValue(mode));
    return names;
}

TEST_P(Completion, offersEveryCommand)
{
    QStringList first;
    QStringList second;
    for (const CommandEntry *command : allCommands()) {
        const QStringList words = command->name.toString().split(' ');
        first.append(words.first());
        if (words.first() == "hook")
            second.append(words.last());
    }
    first.removeDuplicates();

    const auto offered = offeredAt(QStringList { "vantry ", "vantry hook " });

    EXPECT_THAT(offered[0], UnorderedElementsAreArray(first));
    EXPECT_THAT(offered[1], UnorderedElementsAreArray(second));
}

TEST_P(Completion, offersEveryOption)
{
    QStringList lines { "vantry --" };
    for (const CommandEntry *command : allCommands())
        lines.append("vantry " + command->name + " --");

    const auto offered = offeredAt(lines);

    EXPECT_THAT(offered[0], UnorderedElementsAreArray(namesOf(startOptions())));
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const auto &options = allCommands().at(static_cast<std::size_t>(i - 1))->options;
        EXPECT_THAT(offered[i], UnorderedElementsAreArray(namesOf(options))) << lines[i].toStdString();
    }
}

TEST_P(Completion, offersThePermissionModes)
{
    const auto offered = offeredAt(QStringList { "vantry launch --mode ", "vantry launch . --mode=pl" });

    EXPECT_THAT(offered[0], UnorderedElementsAreArray(permissionModes()));
    EXPECT_THAT(offered[1], UnorderedElementsAre("planMode"));
}

TEST_P(Completion, offersSessions)
{
    const auto offered = offeredAt(QStringList { "vantry allow ", "vantry deny --stop f", "vantry send -- ",
                                                 "vantry launch --resume ", "vantry launch . --resume=b" });

    EXPECT_THAT(offered[0], UnorderedElementsAre("a1b2c3d4", "f0f0f0f0"));
    EXPECT_THAT(offered[1], UnorderedElementsAre("f0f0f0f0"));
    EXPECT_THAT(offered[2], UnorderedElementsAre("a1b2c3d4", "f0f0f0f0"));
    EXPECT_THAT(offered[3], UnorderedElementsAre("b1b2c3d4"));
    EXPECT_THAT(offered[4], UnorderedElementsAre("b1b2c3d4"));
    EXPECT_FALSE(QFile::exists(scratch() + "/project/broken"));
}

TEST_P(Completion, offersFoldersAndFilesWhereTheyBelong)
{
    const auto offered = offeredAt(QStringList { "vantry launch fo", "vantry launch --mode planMode ",
                                                 "vantry launch --mode=planMode fo", "vantry messages ",
                                                 "vantry messages --limit 3 f" });

    EXPECT_THAT(offered[0], UnorderedElementsAre("folder"));
    EXPECT_THAT(offered[1], UnorderedElementsAre("folder"));
    EXPECT_THAT(offered[2], UnorderedElementsAre("folder"));
    EXPECT_THAT(offered[3], UnorderedElementsAre("b1b2c3d4", "folder", "fofile"));
    EXPECT_THAT(offered[4], UnorderedElementsAre("folder", "fofile"));
}

TEST_P(Completion, offersNothingWhereAnythingCanStand)
{
    const QStringList lines { "vantry allow a ",  "vantry answer a ",       "vantry send a ",
                              "vantry search ",   "vantry search a ",       "vantry show ",
                              "vantry nonsense ", "vantry recent --limit ", "vantry allow -- x" };

    const auto offered = offeredAt(lines);

    for (qsizetype i = 0; i < lines.size(); ++i)
        EXPECT_THAT(offered[i], UnorderedElementsAre()) << lines[i].toStdString();
}

TEST_P(Completion, offersNoSessionsWhereNothingRuns)
{
    writeProgram("vantry", "echo 'no Vantry is running' >&2; exit 3");

    EXPECT_THAT(offeredAt("vantry allow "), UnorderedElementsAre());
}

TEST_P(Completion, offersNoSessionsWhereThereAreNone)
{
    write("status", "No sessions.\n");

    EXPECT_THAT(offeredAt("vantry allow "), UnorderedElementsAre());
}

TEST_P(Completion, leavesOutSessionsThatAShellCouldTakeForSomethingElse)
{
    write("status", "4 sessions, none needs an answer.\n  ID        STATUS  PROJECT\n"
                    "  $(touch broken)  Ready  shop\n  `touch broken`  Ready  shop\n  --stop  Ready  shop\n"
                    "  *  Ready  shop\n  a;b  Ready  shop\n  good-1.2_3  Ready  shop\n");

    EXPECT_THAT(offeredAt("vantry allow "), UnorderedElementsAre("good-1.2_3"));
    EXPECT_FALSE(QFile::exists(scratch() + "/project/broken"));
}

TEST_P(Completion, doesNotWaitForAVantryThatHangs)
{
    writeProgram("timeout", "echo \"$@\" > \"$SCRATCH/asked\"; exit 124");

    EXPECT_THAT(offeredAt("vantry allow "), UnorderedElementsAre());

    QFile asked(scratch() + "/asked");
    ASSERT_TRUE(asked.open(QFile::ReadOnly));
    EXPECT_EQ(asked.readAll(), "2 vantry status\n");
}

INSTANTIATE_TEST_SUITE_P(Shells, Completion, ::testing::Values("bash", "zsh", "fish"),
                         [](const auto &shell) { return std::string(shell.param); });

} // namespace
} // namespace vantry::test
