#include "platform/linux/LinuxSoundPlayer.h"
#include "program/ChildProcess.h"
#include "program/Eventually.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <cmath>
#include <csignal>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;
using ::testing::Contains;

/// A sound server of the test's own. Its device, which the user has chosen among two, nobody hears but a recorder.
class SoundTest : public ::testing::Test
{
protected:
    SoundTest()
    {
        environment.insert(u"PULSE_SERVER"_s, u"unix:"_s + path(u"socket"_s));
        environment.insert(u"HOME"_s, folder.path());
        environment.insert(u"XDG_RUNTIME_DIR"_s, folder.path());
        environment.insert(u"PULSE_COOKIE"_s, path(u"cookie"_s));
        qputenv("PULSE_SERVER", environment.value(u"PULSE_SERVER"_s).toUtf8());
    }
    ~SoundTest() override { qunsetenv("PULSE_SERVER"); }

    [[nodiscard]] QString path(const QString &name) const { return folder.filePath(name); }
    [[nodiscard]] static QString fixture(const QString &name)
    {
        return QStringLiteral(VANTRY_FIXTURES) + u"/sounds/"_s + name;
    }
    void write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }
    /// A beep of this length.
    void writeWave(const QString &name, int seconds) const
    {
        constexpr int rate = 8'000;
        const auto number = [](int value, int bytes) {
            QByteArray text;
            for (int i = 0; i < bytes; ++i)
                text.append(static_cast<char>(value >> (8 * i)));
            return text;
        };
        QByteArray samples;
        for (int i = 0; i < seconds * rate; ++i)
            samples += number(static_cast<int>(9'000 * std::sin(i * 0.4)), 2);
        const auto size = static_cast<int>(samples.size());
        write(name, "RIFF" + number(size + 36, 4) + "WAVEfmt " + number(16, 4) + number(1, 2) + number(1, 2) +
                        number(rate, 4) + number(2 * rate, 4) + number(2, 2) + number(16, 2) + "data" +
                        number(size, 4) + samples);
    }

    void startServer()
    {
        server =
            start(u"pulseaudio"_s, { u"-n"_s, u"--daemonize=no"_s, u"--disable-shm=yes"_s, u"--exit-idle-time=-1"_s,
                                     u"--use-pid-file=no"_s, u"-L"_s, u"module-null-sink sink_name=other"_s, u"-L"_s,
                                     u"module-null-sink sink_name=device"_s, u"-L"_s,
                                     u"module-native-protocol-unix auth-anonymous=1 socket="_s + path(u"socket"_s) });
        ASSERT_TRUE(eventually([&] {
            (void)control({ u"set-default-sink"_s, u"device"_s });
            return control({ u"info"_s }).contains("Default Sink: device");
        }));
    }
    void startRecorder()
    {
        recorder = start(u"parec"_s, { u"--device=device.monitor"_s, u"--format=s16le"_s, u"--rate=8000"_s,
                                       u"--channels=1"_s, u"--latency-msec=20"_s, u"--raw"_s });
        ASSERT_TRUE(eventually([&] { return control({ u"list"_s, u"short"_s, u"source-outputs"_s }).size() > 0; }));
    }
    /// Waits until something other than silence is heard. What was heard before doesn't count.
    [[nodiscard]] bool hearsSomething()
    {
        constexpr int level = 300; // A hundredth of what can be.
        return eventually([&] {
            recorder->waitForReadyRead(100);
            const QByteArray heard = recorder->readAllStandardOutput();
            for (qsizetype i = 0; i + 1 < heard.size(); i += 2) {
                const auto sample = static_cast<std::int16_t>(static_cast<unsigned char>(heard[i]) | heard[i + 1] << 8);
                if (std::abs(sample) > level)
                    return true;
            }
            return false;
        });
    }
    /// How many programs play something now.
    [[nodiscard]] qsizetype playing() const { return control({ u"list"_s, u"short"_s, u"sink-inputs"_s }).count('\n'); }

    [[nodiscard]] std::unique_ptr<ChildProcess> start(const QString &program, const QStringList &arguments) const
    {
        auto process = std::make_unique<ChildProcess>(program, arguments, environment);
        process->setStandardErrorFile(QProcess::nullDevice());
        process->begin();
        return process;
    }
    [[nodiscard]] QByteArray control(const QStringList &arguments) const
    {
        const auto process = start(u"pactl"_s, arguments);
        return QByteArray::fromStdString(process->finish().out);
    }
    /// How the program ends that plays a file.
    [[nodiscard]] int statusFor(const QStringList &arguments) const
    {
        return start(QStringLiteral(VANTRY_SOUND_PROGRAM), arguments)->finish().exitCode;
    }
    [[nodiscard]] int statusForFile(const QString &name) const { return statusFor({ path(name) }); }

    static constexpr int done = 0;
    static constexpr int noDevice = 1;
    static constexpr int unplayable = 2;

    QTemporaryDir folder;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    std::unique_ptr<ChildProcess> server;
    std::unique_ptr<ChildProcess> recorder;
};

TEST_F(SoundTest, anOwnSoundIsHeard)
{
    startServer();
    startRecorder();
    LinuxSoundPlayer player(QStringLiteral(VANTRY_SOUND_PROGRAM), { QStringLiteral(VANTRY_SOUNDS) });
    ASSERT_THAT(player.names(), Contains(u"Glass"_s));

    player.playNamed(u"Glass"_s);

    EXPECT_TRUE(hearsSomething());
    EXPECT_TRUE(eventually([&] { return player.playing() == 0; })) << "it doesn't end";
    EXPECT_FALSE(player.problem());
}

TEST_F(SoundTest, filesOfEachKindAreHeard)
{
    startServer();
    startRecorder();
    for (const QString &name : { u"glass.aiff"_s, u"glass.mp3"_s, u"glass.m4a"_s, u"glass.oga"_s }) {
        const auto player = start(QStringLiteral(VANTRY_SOUND_PROGRAM), { fixture(name) });
        EXPECT_TRUE(hearsSomething()) << name.toStdString();
        EXPECT_EQ(player->finish().exitCode, done) << name.toStdString();
        (void)recorder->readAllStandardOutput();
    }
}

TEST_F(SoundTest, twoSoundsOverlapAndEndWithThePlayer)
{
    startServer();
    writeWave(u"long.wav"_s, 60);
    {
        LinuxSoundPlayer player(QStringLiteral(VANTRY_SOUND_PROGRAM), {});
        player.playFile(path(u"long.wav"_s));
        player.playFile(path(u"long.wav"_s));
        EXPECT_TRUE(eventually([&] { return playing() == 2; }));
    }
    EXPECT_TRUE(eventually([&] { return playing() == 0; }));
}

TEST_F(SoundTest, whatIsNoSoundEndsAtOnce)
{
    startServer();
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"pipe.wav"_s)).constData(), 0600), 0);
    write(u"empty.wav"_s, {});
    write(u"text.mp3"_s, "These are words.\n");
    write(u"cut.wav"_s, "RIFF\x24\x00\x00\x00WAVEfmt ");
    write(u"huge.wav"_s, {});
    ASSERT_TRUE(QFile::resize(path(u"huge.wav"_s), 10'000'000'000));

    for (const QString &name :
         { u"missing.wav"_s, u"pipe.wav"_s, u"."_s, u"empty.wav"_s, u"text.mp3"_s, u"cut.wav"_s, u"huge.wav"_s })
        EXPECT_EQ(statusForFile(name), unplayable) << name.toStdString();
    EXPECT_EQ(statusFor({ u"/dev/zero"_s }), unplayable);
    EXPECT_EQ(statusFor({ QString() }), unplayable);
}

TEST_F(SoundTest, withoutAServerThereIsSilence)
{
    EXPECT_EQ(statusFor({}), noDevice);
    EXPECT_EQ(statusFor({ fixture(u"glass.mp3"_s) }), noDevice);
    const LinuxSoundPlayer player(QStringLiteral(VANTRY_SOUND_PROGRAM), {});
    EXPECT_TRUE(player.problem());
}

TEST_F(SoundTest, aServerWithoutADeviceIsSilent)
{
    startServer();
    ASSERT_EQ(start(u"pactl"_s, { u"unload-module"_s, u"module-null-sink"_s })->finish().exitCode, 0);

    EXPECT_EQ(statusFor({}), noDevice);
    EXPECT_EQ(statusFor({ fixture(u"glass.mp3"_s) }), noDevice);
}

TEST_F(SoundTest, aServerThatGoesEndsWhatIsPlayed)
{
    startServer();
    writeWave(u"long.wav"_s, 60);
    LinuxSoundPlayer player(QStringLiteral(VANTRY_SOUND_PROGRAM), {});
    player.playFile(path(u"long.wav"_s));
    ASSERT_TRUE(eventually([&] { return playing() == 1; }));
    server->killAndWait();

    EXPECT_TRUE(eventually([&] { return player.playing() == 0; }));
}

TEST_F(SoundTest, aServerThatHangsKeepsNobodyWaiting)
{
    startServer();
    server->sendSignal(SIGSTOP);
    {
        LinuxSoundPlayer player(QStringLiteral(VANTRY_SOUND_PROGRAM), { QStringLiteral(VANTRY_SOUNDS) });
        for (int i = 0; i < LinuxSoundPlayer::maximumAtOnce + 2; ++i)
            player.playNamed(u"Glass"_s);
        EXPECT_EQ(player.playing(), LinuxSoundPlayer::maximumAtOnce);
    }
    server->sendSignal(SIGCONT);
    EXPECT_TRUE(eventually([&] { return playing() == 0; }));
}

TEST_F(SoundTest, aServerThatComesBackIsUsed)
{
    startServer();
    EXPECT_EQ(statusFor({}), done);
    server->killAndWait();
    EXPECT_EQ(statusFor({}), noDevice);

    startServer();
    startRecorder();
    const auto sound = start(QStringLiteral(VANTRY_SOUND_PROGRAM), { QStringLiteral(VANTRY_SOUNDS) + u"/Glass.wav"_s });
    EXPECT_TRUE(hearsSomething());
    EXPECT_EQ(sound->finish().exitCode, done);
}

} // namespace
} // namespace vantry::test
