#include "panels/DictationService.h"
#include "platform/linux/LinuxMicrophone.h"
#include "platform/linux/LinuxSpeechRecogniser.h"
#include "program/ChildProcess.h"
#include "program/Eventually.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// An audio server of the test's own. Its microphone, when it has one, hears what is played to the sink "mic".
class AudioServer
{
public:
    enum class Input { Microphone, None };

    explicit AudioServer(Input input)
        : m_server(u"pulseaudio"_s, arguments(input), environment())
    {
        qputenv("PULSE_SERVER", address().toUtf8());
        m_server.begin();
        EXPECT_TRUE(eventually([this] { return run(u"pactl"_s, { u"info"_s }); }));
        if (input == Input::Microphone) {
            // The remapped source takes a moment after the server has begun to answer.
            EXPECT_TRUE(eventually([this] { return run(u"pactl"_s, { u"set-default-source"_s, u"voice"_s }); }));
        }
    }
    ~AudioServer() { qunsetenv("PULSE_SERVER"); }
    AudioServer(const AudioServer &) = delete;
    AudioServer &operator=(const AudioServer &) = delete;

    /// Has a voice speak into the microphone.
    void speak(const QString &text)
    {
        const QString file = m_folder.filePath(u"speech.wav"_s);
        ASSERT_TRUE(run(u"flite"_s, { u"-voice"_s, u"slt"_s, u"-t"_s, text, u"-o"_s, file }));
        ASSERT_TRUE(run(u"paplay"_s, { u"-d"_s, u"mic"_s, file }));
    }
    void kill() { m_server.killAndWait(); }

private:
    [[nodiscard]] QString address() const { return u"unix:"_s + m_folder.filePath(u"native"_s); }
    [[nodiscard]] QProcessEnvironment environment() const
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, m_folder.path());
        environment.insert(u"XDG_RUNTIME_DIR"_s, m_folder.path());
        environment.insert(u"PULSE_RUNTIME_PATH"_s, m_folder.filePath(u"pulse"_s));
        environment.insert(u"PULSE_SERVER"_s, address());
        return environment;
    }
    [[nodiscard]] QStringList arguments(Input input) const
    {
        QStringList list { u"-n"_s,
                           u"--daemonize=no"_s,
                           u"--use-pid-file=no"_s,
                           u"--exit-idle-time=-1"_s,
                           u"--disable-shm=yes"_s,
                           u"-L"_s,
                           u"module-native-protocol-unix auth-anonymous=1 socket="_s + m_folder.filePath(u"native"_s),
                           u"-L"_s,
                           u"module-null-sink sink_name=mic"_s };
        if (input == Input::Microphone)
            list += { u"-L"_s, u"module-remap-source master=mic.monitor source_name=voice"_s };
        return list;
    }
    [[nodiscard]] bool run(const QString &program, const QStringList &arguments) const
    {
        QProcess process;
        process.setProcessEnvironment(environment());
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, arguments);
        process.waitForFinished();
        return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }

    const QTemporaryDir m_folder;
    ChildProcess m_server;
};

class Dictation : public ::testing::Test
{
protected:
    void start()
    {
        service.requestAuthorization([this](bool isGranted) {
            EXPECT_TRUE(isGranted);
            service.start();
        });
    }
    template <typename Condition>
    [[nodiscard]] bool waitUntil(Condition condition)
    {
        return eventually(
            [&] {
                mainQueue.drain();
                return condition();
            },
            std::chrono::seconds(60));
    }

    class PolledQueue final : public MainQueue
    {
    protected:
        void wake() override {}
    };

    PolledQueue mainQueue;
    SystemClock clock;
    LinuxSpeechRecogniser recogniser { QStringLiteral(VANTRY_SPEECH_PROGRAM), LinuxSpeechRecogniser::systemModel() };
    LinuxMicrophone microphone { mainQueue, clock };
    DictationService service { microphone, &recogniser, mainQueue };
};

TEST_F(Dictation, whatIsSpokenMovesTheLevelsAndIsWritten)
{
    AudioServer server(AudioServer::Input::Microphone);
    float loudest = 0;
    QObject::connect(&service, &DictationService::audioLevelsChanged, &service,
                     [&] { loudest = std::max(loudest, static_cast<float>(service.audioLevels().constLast())); });
    start();
    ASSERT_TRUE(waitUntil([this] { return service.isListening(); })) << service.errorText().toStdString();
    server.speak(u"please run the tests and show me the results"_s);

    EXPECT_TRUE(waitUntil([this] { return service.transcript().contains(u"please"_s); }));
    EXPECT_TRUE(waitUntil([&] { return loudest > 0.5F; })) << loudest;
    service.stop();
    EXPECT_FALSE(service.transcript().isEmpty());
    EXPECT_EQ(service.error(), std::nullopt);
}

TEST_F(Dictation, aServerThatGoesStopsListening)
{
    AudioServer server(AudioServer::Input::Microphone);
    start();
    ASSERT_TRUE(waitUntil([this] { return service.isListening(); })) << service.errorText().toStdString();
    server.kill();

    EXPECT_TRUE(waitUntil([this] { return !service.isListening(); }));
    EXPECT_EQ(service.error(), u"Connection terminated"_s);
}

TEST_F(Dictation, whatTheLoudspeakersPlayIsNoMicrophone)
{
    const AudioServer server(AudioServer::Input::None);
    start();
    EXPECT_TRUE(waitUntil([this] { return service.error().has_value(); }));
    EXPECT_EQ(service.error(), u"Failed to start audio: There is no microphone"_s);
    EXPECT_FALSE(service.isListening());
}

} // namespace
} // namespace vantry::test
