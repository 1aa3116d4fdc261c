#include "platform/linux/LinuxSpeechRecogniser.h"

#include "base/Cancellation.h"
#include "base/ChildProcess.h"
#include "base/Subprocess.h"

#include <QFileInfo>

#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <mutex>
#include <string>
#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Codes of failures.
constexpr int cannotBegin = 1;
constexpr int hasEnded = 2;

/// What is spoken in five minutes, in bytes: a program that is so far behind hangs.
constexpr std::size_t mostUnsent = std::size_t { 5 * 60 } * Microphone::sampleRate * sizeof(std::int16_t);

bool hasModel(const QString &folder)
{
    return std::ranges::all_of(std::array { u"/en-us/mdef"_s, u"/en-us.lm.bin"_s, u"/cmudict-en-us.dict"_s },
                               [&](const QString &file) { return QFileInfo(folder + file).isFile(); });
}

std::int16_t toInteger(float sample)
{
    constexpr float full = 32767;
    // What is no number is silence.
    if (std::isnan(sample))
        return 0;
    return static_cast<std::int16_t>(std::lround(std::clamp(sample, -1.0F, 1.0F) * full));
}

/// What the microphone gives and nobody has taken yet. Any thread.
class Speech
{
public:
    Speech()
        : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    {}

    void append(Microphone::Block block)
    {
        const std::lock_guard lock(m_mutex);
        if (m_isCancelled || m_hasEnded)
            return;
        for (const float sample : block) {
            const std::int16_t value = toInteger(sample);
            m_bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
        }
        wake();
    }
    void end()
    {
        const std::lock_guard lock(m_mutex);
        m_hasEnded = true;
        wake();
    }
    void cancel()
    {
        const std::lock_guard lock(m_mutex);
        m_isCancelled = true;
        m_bytes = {};
        wake();
    }
    [[nodiscard]] bool isCancelled() const { return m_isCancelled; }

    /// Moves what there is to the end of the bytes; false when no more will come.
    [[nodiscard]] bool take(std::string &bytes)
    {
        const std::lock_guard lock(m_mutex);
        eventfd_t count = 0;
        eventfd_read(m_event.get(), &count);
        bytes.append(std::exchange(m_bytes, {}));
        return !m_hasEnded;
    }
    /// Ready for reading when there is something new.
    [[nodiscard]] int descriptor() const { return m_event.get(); }

private:
    void wake() { eventfd_write(m_event.get(), 1); }

    const FileDescriptor m_event;
    std::mutex m_mutex;
    std::string m_bytes;
    bool m_hasEnded { false };
    std::atomic<bool> m_isCancelled { false };
};

/// One recognition, in the thread that waits for its process.
class Recognition
{
public:
    Recognition(std::shared_ptr<Speech> speech, const SpeechRecogniser::Handlers &handlers)
        : m_speech(std::move(speech))
        , m_handlers(handlers)
    {}

    void run(const ChildProcess::Plan &plan)
    {
        if (m_speech->isCancelled())
            return;
        m_child = ChildProcess::start(plan);
        if (!m_child) {
            fail({ cannotBegin, u"%1 can't be started"_s.arg(QString::fromStdString(plan.executable)) });
            return;
        }
        while (goOn()) {
        }
        const bool isCancelled = m_speech->isCancelled() || Cancellation::isThisThreadCancelled();
        if (isCancelled || m_isBehind)
            m_child->killGroup();
        if (m_child->exitStatus() == 0 || isCancelled)
            return;
        if (m_hasBegun)
            fail({ hasEnded, u"The speech recogniser has ended"_s });
        else
            fail({ cannotBegin, u"The speech model can't be loaded"_s });
    }

private:
    /// Waits for something to do, and does it. False when it is over.
    bool goOn()
    {
        const Cancellation *const cancellation = Cancellation::ofThisThread();
        std::array<pollfd, 4> watched { { { m_speech->descriptor(), POLLIN, 0 },
                                          { m_child->standardOutput().get(), POLLIN, 0 },
                                          { m_unsent.empty() ? -1 : m_child->standardInput().get(), POLLOUT, 0 },
                                          { cancellation ? cancellation->descriptor() : -1, POLLIN, 0 } } };
        if (poll(watched.data(), watched.size(), -1) < 0)
            return errno == EINTR;
        const bool hasMore = m_speech->take(m_unsent);
        if (m_speech->isCancelled() || watched[3].revents != 0)
            return false;
        if (watched[1].revents != 0 && !receive())
            return false;
        send();
        if (!hasMore && m_unsent.empty())
            m_child->standardInput().reset();
        m_isBehind = m_unsent.size() > mostUnsent;
        return !m_isBehind;
    }

    void send()
    {
        if (m_unsent.empty())
            return;
        const FileDescriptor &input = m_child->standardInput();
        const ssize_t sent = ::send(input.get(), m_unsent.data(), m_unsent.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0)
            m_unsent.erase(0, static_cast<std::size_t>(sent));
        else if (errno != EAGAIN && errno != EINTR)
            m_unsent.clear(); // It ends, or has; what it tells at its end is still read.
    }

    /// False at the end of what it tells.
    bool receive()
    {
        std::array<char, 4096> block;
        const ssize_t got = read(m_child->standardOutput().get(), block.data(), block.size());
        if (got < 0)
            return errno == EINTR;
        m_received.append(block.data(), static_cast<std::size_t>(got));
        // The latest line holds all that those before it do.
        const std::size_t end = m_received.rfind('\n');
        if (end != std::string::npos) {
            const std::size_t feed = end > 0 ? m_received.rfind('\n', end - 1) : std::string::npos;
            const std::size_t begin = feed == std::string::npos ? 0 : feed + 1;
            report(QString::fromUtf8(m_received.data() + begin, static_cast<qsizetype>(end - begin)));
            m_received.erase(0, end + 1);
        }
        return got > 0;
    }

    void report(const QString &text)
    {
        if (!text.isEmpty() && !m_speech->isCancelled())
            m_handlers.onResult(text);
        m_hasBegun = true;
    }
    void fail(const SpeechRecogniser::Failure &failure)
    {
        if (!m_speech->isCancelled())
            m_handlers.onError(failure);
    }

    const std::shared_ptr<Speech> m_speech;
    const SpeechRecogniser::Handlers &m_handlers;
    std::optional<ChildProcess> m_child;
    std::string m_unsent;
    std::string m_received; ///< Of a line that is not whole yet.
    bool m_hasBegun { false };
    bool m_isBehind { false };
};

class SpeechRequest final : public SpeechRecogniser::Request
{
public:
    void append(Microphone::Block block) override { m_speech->append(block); }
    void endAudio() override { m_speech->end(); }

    [[nodiscard]] const std::shared_ptr<Speech> &speech() const { return m_speech; }

private:
    const std::shared_ptr<Speech> m_speech = std::make_shared<Speech>();
};

class SpeechTask final : public SpeechRecogniser::Task
{
public:
    explicit SpeechTask(std::shared_ptr<Speech> speech)
        : m_speech(std::move(speech))
    {}
    ~SpeechTask() override { m_speech->cancel(); }

    void cancel() override { m_speech->cancel(); }

private:
    const std::shared_ptr<Speech> m_speech;
};

} // namespace

LinuxSpeechRecogniser::LinuxSpeechRecogniser(QString program, QString modelFolder)
    : m_program(std::move(program))
    , m_modelFolder(std::move(modelFolder))
{}

void LinuxSpeechRecogniser::requestAuthorisation(std::function<void(Authorisation status)> done)
{
    m_workers.run([this, done = std::move(done)] {
        m_runs = !problem();
        done(Authorisation::Authorised);
    });
}

bool LinuxSpeechRecogniser::isAvailable() const
{
    return m_runs && hasModel(m_modelFolder);
}

std::shared_ptr<SpeechRecogniser::Request> LinuxSpeechRecogniser::makeRequest()
{
    return std::make_shared<SpeechRequest>();
}

std::unique_ptr<SpeechRecogniser::Task> LinuxSpeechRecogniser::recognise(const std::shared_ptr<Request> &request,
                                                                         Handlers handlers)
{
    const auto &speech = std::static_pointer_cast<SpeechRequest>(request)->speech();
    Subprocess process;
    process.executable = m_program;
    process.arguments = { m_modelFolder };
    ChildProcess::Plan plan = process.plan();
    plan.hasInput = true;
    m_workers.run([speech, plan, handlers = std::move(handlers)] { Recognition(speech, handlers).run(plan); });
    return std::make_unique<SpeechTask>(speech);
}

QString LinuxSpeechRecogniser::systemModel()
{
    return u"/usr/share/pocketsphinx/model/en-us"_s;
}

std::optional<QString> LinuxSpeechRecogniser::problem() const
{
    if (!hasModel(m_modelFolder))
        return u"there is no model in %1"_s.arg(m_modelFolder);
    Subprocess check;
    check.executable = m_program;
    check.timeout = 5s;
    const Subprocess::Result result = check.run();
    if (!result.started)
        return u"%1 can't be started"_s.arg(m_program);
    if (result.exitStatus != 0)
        return u"%1 does not run"_s.arg(m_program);
    return std::nullopt;
}

} // namespace vantry
