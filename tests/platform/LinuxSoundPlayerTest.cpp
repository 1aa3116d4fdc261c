#include "platform/linux/LinuxSoundPlayer.h"

#include "program/Eventually.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <csignal>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Plays with a program that a test writes, which finds the test's folder in $FOLDER.
class LinuxSoundPlayerTest : public ::testing::Test
{
protected:
    LinuxSoundPlayerTest()
    {
        QDir(folder.path()).mkpath(u"first"_s);
        QDir(folder.path()).mkpath(u"second"_s);
        write(u"program"_s, QByteArray());
        player.emplace(path(u"program"_s), QStringList { path(u"first"_s), path(u"second"_s) });
    }

    [[nodiscard]] QString path(const QString &name) const { return folder.filePath(name); }
    void write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }
    void setProgram(const QByteArray &script) const
    {
        QFile::remove(path(u"program"_s));
        write(u"program"_s, "#!/bin/sh\nFOLDER='" + QFile::encodeName(folder.path()) + "'\n" + script + '\n');
        QFile::setPermissions(path(u"program"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    /// Each playing is noted, and lasts until release().
    void setHeldProgram() const
    {
        ASSERT_EQ(mkfifo(QFile::encodeName(path(u"gate"_s)).constData(), 0600), 0);
        setProgram("echo \"$$ $1\" >> \"$FOLDER/out\"; read line < \"$FOLDER/gate\"");
    }
    void setNotingProgram() const { setProgram("printf '%s\\n' \"$#\" \"$@\" >> \"$FOLDER/out\""); }
    /// Lets all that plays and will play come to its end, which happens before this ends.
    void release()
    {
        // Opened for both, a FIFO lets everybody in.
        QFile gate(path(u"gate"_s));
        ASSERT_TRUE(gate.open(QFile::ReadWrite | QFile::Unbuffered));
        gate.write(QByteArray(100, '\n'));
        EXPECT_TRUE(waitUntilSilent());
    }
    [[nodiscard]] QStringList noted() const
    {
        QFile file(path(u"out"_s));
        return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
                                          : QStringList();
    }
    [[nodiscard]] bool waitUntilSilent()
    {
        return eventually([this] { return player->playing() == 0; });
    }
    [[nodiscard]] bool waitForNotes(qsizetype count) const
    {
        return eventually([&] { return noted().size() == count; });
    }
    /// The file that is played for the name; empty for none.
    [[nodiscard]] QString fileFor(const QString &name)
    {
        QFile::remove(path(u"out"_s));
        player->playNamed(name);
        EXPECT_TRUE(waitUntilSilent());
        const QStringList notes = noted();
        return notes.isEmpty() ? QString() : QDir(folder.path()).relativeFilePath(notes.last());
    }

    const QTemporaryDir folder;
    std::optional<LinuxSoundPlayer> player;
};

TEST_F(LinuxSoundPlayerTest, thePathIsGivenAsOneArgument)
{
    setNotingProgram();

    player->playFile(u"/music/it's $(a) b;ü.wav"_s);

    EXPECT_TRUE(waitUntilSilent());
    EXPECT_THAT(noted(), ElementsAre(u"1"_s, u"/music/it's $(a) b;ü.wav"_s));
}

TEST_F(LinuxSoundPlayerTest, playingDoesNotWaitAndSoundsOverlap)
{
    setHeldProgram();

    player->playFile(u"/a.wav"_s);
    player->playFile(u"/b.wav"_s);

    EXPECT_EQ(player->playing(), 2);
    EXPECT_TRUE(waitForNotes(2)) << "the second one waits for the first one's end";
    release();
}

TEST_F(LinuxSoundPlayerTest, aStormOfSoundsIsCutOff)
{
    setHeldProgram();

    for (int i = 0; i < 3 * LinuxSoundPlayer::maximumAtOnce; ++i)
        player->playFile(u"/a.wav"_s);
    EXPECT_EQ(player->playing(), LinuxSoundPlayer::maximumAtOnce);
    EXPECT_TRUE(waitForNotes(LinuxSoundPlayer::maximumAtOnce));
    release();

    EXPECT_EQ(noted().size(), LinuxSoundPlayer::maximumAtOnce);
    setNotingProgram();
    player->playFile(u"/later.wav"_s);
    EXPECT_TRUE(waitUntilSilent());
    EXPECT_EQ(noted().last(), u"/later.wav"_s);
}

TEST_F(LinuxSoundPlayerTest, whatIsPlayingEndsWithThePlayer)
{
    setHeldProgram();
    player->playFile(u"/a.wav"_s);
    ASSERT_TRUE(eventually([&] { return noted().value(0).endsWith(u".wav"_s); }));
    const int process = noted().first().section(u' ', 0, 0).toInt();
    ASSERT_GT(process, 1);

    player.reset();

    EXPECT_TRUE(eventually([&] { return kill(process, 0) != 0; }));
}

TEST_F(LinuxSoundPlayerTest, aCrashIsSilence)
{
    setProgram("kill -SEGV $$");
    player->playFile(u"/a.wav"_s);
    EXPECT_TRUE(waitUntilSilent());

    setNotingProgram();
    player->playFile(u"/b.wav"_s);
    EXPECT_TRUE(waitUntilSilent());
    EXPECT_EQ(noted().size(), 2);
}

TEST_F(LinuxSoundPlayerTest, withoutTheProgramThereIsSilence)
{
    QFile::remove(path(u"program"_s));

    player->playFile(u"/a.wav"_s);
    player->playFile(QString());
    player->playFile(QString(u'\0'));

    EXPECT_TRUE(waitUntilSilent());
    EXPECT_THAT(player->problem().value().detail.toStdString(), HasSubstr("program can't be started"));
}

TEST_F(LinuxSoundPlayerTest, aNamedSoundIsAFileOfTheFirstFolderThatHasIt)
{
    setNotingProgram();
    write(u"first/Glass.wav"_s, {});
    write(u"second/Glass.oga"_s, {});
    write(u"second/bell.oga"_s, {});
    write(u"second/chime.ogg"_s, {});
    write(u"second/two.parts.oga"_s, {});

    EXPECT_EQ(fileFor(u"Glass"_s), u"first/Glass.wav"_s);
    EXPECT_EQ(fileFor(u"bell"_s), u"second/bell.oga"_s);
    EXPECT_EQ(fileFor(u"chime"_s), u"second/chime.ogg"_s);
    EXPECT_EQ(fileFor(u"two.parts"_s), u"second/two.parts.oga"_s);
}

TEST_F(LinuxSoundPlayerTest, aNameThatNobodyBearsIsSilence)
{
    setNotingProgram();
    write(u"first/Glass.wav"_s, {});
    write(u"Outside.wav"_s, {});
    write(u"first/.wav"_s, {});

    EXPECT_EQ(fileFor(u"Nothing"_s), QString());
    EXPECT_EQ(fileFor(u"glass"_s), QString());
    EXPECT_EQ(fileFor(u"Glass.wav"_s), QString());
    EXPECT_EQ(fileFor(u"../Outside"_s), QString());
    EXPECT_EQ(fileFor(path(u"Outside"_s)), QString());
    EXPECT_EQ(fileFor(QString()), QString());
}

TEST_F(LinuxSoundPlayerTest, namesAreSortedWithoutDoubles)
{
    for (const char *file : { "first/Tink.wav", "first/Blow.wav", "second/bell.oga", "second/Blow.oga",
                              "second/alarm.ogg", "second/index.theme", "second/.hidden.oga", "second/LOUD.WAV" })
        write(QString::fromLatin1(file), {});
    QDir(folder.path()).mkpath(u"second/folder.wav"_s);

    EXPECT_THAT(player->names(), ElementsAre(u"Blow"_s, u"Tink"_s, u"alarm"_s, u"bell"_s));
}

TEST_F(LinuxSoundPlayerTest, everyNameThatIsListedCanBePlayed)
{
    setNotingProgram();
    for (const char *file : { "first/Tink.wav", "second/bell.oga", "second/alarm.ogg", "second/a.wav.oga" })
        write(QString::fromLatin1(file), {});

    const QStringList names = player->names();
    EXPECT_EQ(names.size(), 4);
    for (const QString &name : names)
        EXPECT_NE(fileFor(name), QString()) << name.toStdString();
}

TEST_F(LinuxSoundPlayerTest, withoutFoldersThereAreNoNames)
{
    player.emplace(path(u"program"_s), QStringList { path(u"missing"_s), path(u"program"_s) });

    EXPECT_THAT(player->names(), IsEmpty());
}

TEST_F(LinuxSoundPlayerTest, tellsWhatKeepsSoundsFromBeingHeard)
{
    setProgram("exit 0");
    EXPECT_FALSE(player->problem());
    setProgram("exit 1");
    EXPECT_THAT(player->problem().value().detail.toStdString(), HasSubstr("There is no sound device"));
    setProgram("kill -ALRM $$");
    EXPECT_THAT(player->problem().value().detail.toStdString(), HasSubstr("does not run"));
    setProgram("exit 127");
    EXPECT_THAT(player->problem().value().advice.toStdString(), HasSubstr("libqt6multimedia6"));
}

TEST_F(LinuxSoundPlayerTest, theThemeIsLookedForWhereTheDesktopKeepsIt)
{
    const QByteArray home = qgetenv("XDG_DATA_HOME");
    const QByteArray others = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_HOME", "/of/mine");
    qputenv("XDG_DATA_DIRS", "/of/all:/other");

    EXPECT_THAT(LinuxSoundPlayer::themeFolders(),
                ElementsAre(u"/of/mine/sounds/freedesktop/stereo"_s, u"/of/all/sounds/freedesktop/stereo"_s,
                            u"/other/sounds/freedesktop/stereo"_s));
    home.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", home);
    others.isNull() ? qunsetenv("XDG_DATA_DIRS") : qputenv("XDG_DATA_DIRS", others);
}

} // namespace
} // namespace vantry::test
