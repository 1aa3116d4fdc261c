#include "base/Defaults.h"

#include "base/Files.h"
#include "support/RecordingLog.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

namespace vantry {
namespace {

using testing::HasSubstr;

const QString displayMode = QStringLiteral("displayMode");
const QString sounds = QStringLiteral("sounds_enabled");

class DefaultsTest : public testing::Test
{
protected:
    DefaultsTest() { QDir().mkpath(folder); }

    void put(std::string_view bytes) const
    {
        FileReplacement file(native, 0600);
        file.write(bytes);
        ASSERT_TRUE(file.commit());
    }
    [[nodiscard]] std::string contents() const { return readRegularFile(native).bytes.value_or("(no file)"); }
    /// Turns the event loop until the condition holds.
    template <typename Condition>
    static void turnUntil(Condition &&condition)
    {
        while (!condition())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    void countChanges(const Defaults &defaults)
    {
        QObject::connect(&defaults, &Defaults::changed, &defaults, [this] { ++changes; });
    }

    QTemporaryDir scratch;
    QString folder { scratch.filePath(QStringLiteral("config/Vantry")) };
    QString path { folder + QStringLiteral("/settings.json") };
    std::string native { QFile::encodeName(path).toStdString() };
    QtMainQueue mainQueue;
    test::RecordingLog log;
    int changes { 0 };
};

TEST_F(DefaultsTest, givesTheFallbackWithoutAFile)
{
    const Defaults defaults(path, mainQueue, log);
    EXPECT_TRUE(defaults.boolean(sounds, true));
    EXPECT_FALSE(defaults.boolean(sounds, false));
    EXPECT_EQ(defaults.string(displayMode, QStringLiteral("menuBar")), QStringLiteral("menuBar"));
    EXPECT_EQ(defaults.string(displayMode), std::nullopt);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(DefaultsTest, takesAValueOfAnotherTypeForAbsent)
{
    put(R"({"sounds_enabled":"false","displayMode":true,"n":1,"o":{"a":true},"x":null})");
    const Defaults defaults(path, mainQueue, log);
    EXPECT_TRUE(defaults.boolean(sounds, true));
    EXPECT_EQ(defaults.string(displayMode), std::nullopt);
    for (const char16_t *key : { u"n", u"o", u"x", u"a" }) {
        EXPECT_TRUE(defaults.boolean(QString::fromUtf16(key), true));
        EXPECT_EQ(defaults.string(QString::fromUtf16(key)), std::nullopt);
    }
}

TEST_F(DefaultsTest, writesWhatIsSetAndKeepsTheRestDigitForDigit)
{
    put(R"({"theirs":1.0,"big":123456789012345678901234567890,"s":"\ud800","sounds_enabled":true})");
    Defaults defaults(path, mainQueue, log);
    defaults.setBoolean(sounds, false);
    defaults.setString(displayMode, QStringLiteral("notch \"é\""));
    defaults.flush();

    EXPECT_EQ(contents(), "{\n"
                          "  \"big\": 123456789012345678901234567890,\n"
                          "  \"displayMode\": \"notch \\\"é\\\"\",\n"
                          "  \"s\": \"\\ud800\",\n"
                          "  \"sounds_enabled\": false,\n"
                          "  \"theirs\": 1.0\n"
                          "}\n");
    EXPECT_FALSE(defaults.boolean(sounds, true));
}

TEST_F(DefaultsTest, givesWhatWasSetAtOnce)
{
    Defaults defaults(path, mainQueue, log);
    defaults.setString(displayMode, QStringLiteral("both"));
    EXPECT_EQ(defaults.string(displayMode), QStringLiteral("both"));
    defaults.remove(displayMode);
    EXPECT_EQ(defaults.string(displayMode), std::nullopt);
}

TEST_F(DefaultsTest, letsTheLastOfManySettingsWin)
{
    {
        Defaults defaults(path, mainQueue, log);
        for (int i = 0; i <= 200; ++i)
            defaults.setString(displayMode, QString::number(i));
        // The end waits for the file.
    }
    EXPECT_EQ(contents(), "{\n  \"displayMode\": \"200\"\n}\n");
}

TEST_F(DefaultsTest, makesFileAndFolderForTheirOwnerAlone)
{
    ASSERT_TRUE(QDir(scratch.filePath(QStringLiteral("config"))).removeRecursively());
    Defaults defaults(path, mainQueue, log);
    defaults.setBoolean(sounds, true);
    defaults.flush();

    struct stat status
    {};
    ASSERT_EQ(stat(native.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(stat(QFile::encodeName(folder).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
}

TEST_F(DefaultsTest, tellsOnceOfEachChangeAndNotOfItsOwnWrite)
{
    Defaults defaults(path, mainQueue, log);
    countChanges(defaults);
    defaults.setBoolean(sounds, true);
    EXPECT_EQ(changes, 1);
    defaults.setBoolean(sounds, true);
    EXPECT_EQ(changes, 1);
    defaults.remove(displayMode);
    EXPECT_EQ(changes, 1);
    defaults.flush();

    // A change from outside comes behind all that our own write has set off.
    put(R"({"sounds_enabled":false})");
    turnUntil([&] { return !defaults.boolean(sounds, true); });
    EXPECT_EQ(changes, 2);
}

TEST_F(DefaultsTest, takesOverAReplacedFile)
{
    put(R"({"displayMode":"notch"})");
    const Defaults defaults(path, mainQueue, log);
    for (const char *mode : { "both", "menuBar", "notch" }) {
        put(std::string(R"({"displayMode":")") + mode + "\"}");
        turnUntil([&] { return defaults.string(displayMode) == QString::fromLatin1(mode); });
    }
}

TEST_F(DefaultsTest, takesOverAFileThatIsWrittenInPlace)
{
    put(R"({"displayMode":"notch"})");
    const Defaults defaults(path, mainQueue, log);
    for (const char *mode : { "both", "menuBar" }) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QByteArray("{\"displayMode\":\"") + mode + "\"}");
        file.close();
        turnUntil([&] { return defaults.string(displayMode) == QString::fromLatin1(mode); });
    }
}

TEST_F(DefaultsTest, takesOverADeletedFile)
{
    put(R"({"displayMode":"notch"})");
    const Defaults defaults(path, mainQueue, log);
    ASSERT_TRUE(QFile::remove(path));
    turnUntil([&] { return !defaults.string(displayMode); });
}

TEST_F(DefaultsTest, takesOverAFileWhoseFoldersAppearLater)
{
    ASSERT_TRUE(QDir(scratch.filePath(QStringLiteral("config"))).removeRecursively());
    const Defaults defaults(path, mainQueue, log);

    ASSERT_TRUE(QDir().mkpath(folder));
    put(R"({"displayMode":"notch"})");
    turnUntil([&] { return defaults.string(displayMode) == QStringLiteral("notch"); });

    ASSERT_TRUE(QDir(scratch.filePath(QStringLiteral("config"))).removeRecursively());
    turnUntil([&] { return !defaults.string(displayMode); });

    ASSERT_TRUE(QDir().mkpath(folder));
    put(R"({"displayMode":"both"})");
    turnUntil([&] { return defaults.string(displayMode) == QStringLiteral("both"); });
}

TEST_F(DefaultsTest, takesOverTheTargetOfALink)
{
    const std::string target = QFile::encodeName(scratch.filePath(QStringLiteral("dotfile.json"))).toStdString();
    ASSERT_EQ(symlink(target.c_str(), native.c_str()), 0);
    put(R"({"displayMode":"notch"})");
    Defaults defaults(path, mainQueue, log);
    put(R"({"displayMode":"both"})");
    turnUntil([&] { return defaults.string(displayMode) == QStringLiteral("both"); });

    defaults.setBoolean(sounds, true);
    defaults.flush();

    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_THAT(readRegularFile(target).bytes.value_or(""), HasSubstr("\"sounds_enabled\": true"));
}

TEST_F(DefaultsTest, keepsWhatOthersHaveWrittenMeanwhile)
{
    put(R"({"a":"old","displayMode":"notch"})");
    Defaults defaults(path, mainQueue, log);
    // Not yet taken over, since the event loop does not turn.
    put(R"({"a":"theirs","displayMode":"theirs","b":"new"})");
    defaults.setString(displayMode, QStringLiteral("ours"));
    defaults.flush();

    EXPECT_EQ(contents(), "{\n  \"a\": \"theirs\",\n  \"b\": \"new\",\n  \"displayMode\": \"ours\"\n}\n");
    EXPECT_EQ(defaults.string(QStringLiteral("a")), QStringLiteral("theirs"));
    EXPECT_EQ(defaults.string(displayMode), QStringLiteral("ours"));
}

TEST_F(DefaultsTest, removesAKeyFromTheFile)
{
    put(R"({"a":1,"displayMode":"notch"})");
    Defaults defaults(path, mainQueue, log);
    defaults.remove(displayMode);
    defaults.flush();
    EXPECT_EQ(contents(), "{\n  \"a\": 1\n}\n");
}

TEST_F(DefaultsTest, leavesAFileAloneThatNothingWasChangedIn)
{
    const std::string theirs = R"({"displayMode":"notch"})";
    put(theirs);
    {
        Defaults defaults(path, mainQueue, log);
        defaults.setString(displayMode, QStringLiteral("notch"));
    }
    EXPECT_EQ(contents(), theirs);
}

TEST_F(DefaultsTest, putsABrokenFileAsideBeforeItWrites)
{
    for (const char *broken : { "{\"displayMode\":\"notch\",}", "[1]", "" }) {
        put(broken);
        log.clear();
        Defaults defaults(path, mainQueue, log);
        EXPECT_EQ(defaults.string(displayMode), std::nullopt);
        EXPECT_EQ(contents(), broken);

        defaults.setBoolean(sounds, false);
        defaults.flush();

        EXPECT_EQ(contents(), "{\n  \"sounds_enabled\": false\n}\n");
        EXPECT_EQ(readRegularFile(native + ".broken").bytes, broken);
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines().front().startsWith(QStringLiteral("Defaults: settings can't be parsed (")));
    }
}

TEST_F(DefaultsTest, replacesNothingThatIsNoFile)
{
    ASSERT_TRUE(QDir().mkdir(path));
    Defaults defaults(path, mainQueue, log);
    defaults.setBoolean(sounds, false);
    defaults.flush();

    EXPECT_TRUE(QFileInfo(path).isDir());
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().front().startsWith(QStringLiteral("Defaults: failed to write ")));
    // The value counts as long as the program runs.
    EXPECT_FALSE(defaults.boolean(sounds, true));
}

TEST_F(DefaultsTest, writesWithTheNextEditWhatCouldNotBeWritten)
{
    ASSERT_TRUE(QDir().mkdir(path));
    Defaults defaults(path, mainQueue, log);
    defaults.setBoolean(sounds, false);
    defaults.flush();
    ASSERT_TRUE(QDir().rmdir(path));

    defaults.setString(displayMode, QStringLiteral("both"));
    defaults.flush();

    EXPECT_EQ(contents(), "{\n  \"displayMode\": \"both\",\n  \"sounds_enabled\": false\n}\n");
}

TEST_F(DefaultsTest, writesWithoutAFlushOnceTheEventLoopTurns)
{
    Defaults defaults(path, mainQueue, log);
    defaults.setBoolean(sounds, false);
    defaults.setString(displayMode, QStringLiteral("both"));
    turnUntil([&] { return contents() == "{\n  \"displayMode\": \"both\",\n  \"sounds_enabled\": false\n}\n"; });
}

TEST_F(DefaultsTest, skipsAByteOrderMark)
{
    put("\xEF\xBB\xBF{\"displayMode\":\"notch\"}");
    EXPECT_EQ(Defaults(path, mainQueue, log).string(displayMode), QStringLiteral("notch"));
}

} // namespace
} // namespace vantry
