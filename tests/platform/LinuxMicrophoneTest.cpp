#include "platform/linux/LinuxMicrophone.h"

#include "support/ManualMainQueue.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// A socket at which somebody listens who never says anything.
class SilentServer
{
public:
    explicit SilentServer(const QString &path)
    {
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path);
        std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
        EXPECT_EQ(::bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_socket, 4), 0);
    }
    ~SilentServer() { ::close(m_socket); }
    SilentServer(const SilentServer &) = delete;
    SilentServer &operator=(const SilentServer &) = delete;

    /// Hangs up on the next one who calls.
    void refuseOne() const { ::close(::accept(m_socket, nullptr, nullptr)); }

private:
    const int m_socket { ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0) };
};

class LinuxMicrophoneTest : public ::testing::Test
{
protected:
    LinuxMicrophoneTest() { qputenv("PULSE_SERVER", "unix:" + QFile::encodeName(path)); }
    ~LinuxMicrophoneTest() override { qunsetenv("PULSE_SERVER"); }

    [[nodiscard]] std::unique_ptr<Microphone::Recording> start()
    {
        return microphone->start({ [](Microphone::Block) { ADD_FAILURE() << "nobody speaks"; },
                                   [this](const auto &failure) { starts.append(failure.value_or(u"started"_s)); },
                                   [](const QString &) { ADD_FAILURE() << "it has not started"; } });
    }

    QTemporaryDir folder;
    QString path = folder.filePath(u"native"_s);
    ManualMainQueue mainQueue;
    SystemClock clock;
    QStringList starts;
    std::unique_ptr<LinuxMicrophone> microphone = std::make_unique<LinuxMicrophone>(mainQueue, clock);
};

TEST_F(LinuxMicrophoneTest, leaveIsGiven)
{
    bool isGranted = false;
    microphone->requestAccess([&isGranted](bool given) { isGranted = given; });
    EXPECT_TRUE(isGranted);
}

TEST_F(LinuxMicrophoneTest, withoutAnAudioServerTheStartSaysWhy)
{
    const auto recording = start();
    EXPECT_TRUE(starts.isEmpty()) << "it was waited for";
    EXPECT_TRUE(mainQueue.drainWhenPosted(std::chrono::seconds { 60 }));

    EXPECT_EQ(starts, QStringList { u"Connection refused"_s });
    EXPECT_EQ(LinuxMicrophone::problem(clock), u"Connection refused"_s);
}

TEST_F(LinuxMicrophoneTest, aServerThatHangsUpIsNoMicrophone)
{
    const SilentServer server(path);
    const auto recording = start();
    server.refuseOne();
    EXPECT_TRUE(mainQueue.drainWhenPosted(std::chrono::seconds { 60 }));

    EXPECT_EQ(starts.size(), 1);
    EXPECT_NE(starts.value(0), u"started"_s);
}

TEST_F(LinuxMicrophoneTest, aServerThatHangsHoldsNothingUp)
{
    const SilentServer server(path);
    auto recording = start();
    recording.reset();
    const auto another = start();
    microphone.reset();
    mainQueue.drainAll();
    EXPECT_FALSE(starts.contains(u"started"_s));
}

TEST_F(LinuxMicrophoneTest, nothingIsToldOnceTheRecordingHasGone)
{
    auto recording = start();
    recording.reset();
    microphone.reset();
    mainQueue.drainAll();
    EXPECT_TRUE(starts.isEmpty());
}

} // namespace
} // namespace vantry::test
