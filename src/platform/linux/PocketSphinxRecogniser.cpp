#include "platform/linux/PocketSphinxRecogniser.h"

#include "platform/linux/SphinxDecoder.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vantry {

namespace {

/// The code of a recognition that could not begin.
constexpr int cannotBegin = 1;

/// One recognition. All but the flag belongs to the recogniser's queue.
class Recognition
{
public:
    [[nodiscard]] bool isCancelled() const { return m_isCancelled; }
    /// Any thread.
    void cancel() { m_isCancelled = true; }

    void begin(const QString &modelFolder, SpeechRecogniser::Handlers handlers)
    {
        if (m_isCancelled)
            return;
        m_handlers = std::move(handlers);
        auto decoder = std::make_unique<SphinxDecoder>();
        if (const auto problem = decoder->load(modelFolder)) {
            if (!m_isCancelled)
                m_handlers.onError({ cannotBegin, *problem });
            return;
        }
        m_decoder = std::move(decoder);
        process(std::exchange(m_early, {}));
        if (m_hasEnded)
            finish();
    }
    void process(const std::vector<float> &samples)
    {
        if (m_isCancelled)
            return;
        if (!m_decoder) {
            m_early.insert(m_early.end(), samples.begin(), samples.end());
            return;
        }
        // In blocks also what has gathered, for partial results and a timely end.
        constexpr std::size_t frames = Microphone::framesPerBlock;
        const Microphone::Block all(samples);
        for (std::size_t i = 0; i < all.size() && !m_isCancelled; i += frames) {
            m_decoder->process(all.subspan(i, std::min(frames, all.size() - i)));
            report();
        }
    }
    void finish()
    {
        m_hasEnded = true;
        if (m_decoder && !m_isCancelled) {
            m_decoder->finish();
            report();
        }
        m_decoder.reset();
    }
    void release()
    {
        m_decoder.reset();
        m_early = {};
    }

private:
    void report()
    {
        const QString text = m_decoder->text();
        if (!m_isCancelled && std::exchange(m_reported, text) != text)
            m_handlers.onResult(text);
    }

    std::atomic<bool> m_isCancelled { false };
    bool m_hasEnded { false }; ///< No more is appended.
    SpeechRecogniser::Handlers m_handlers;
    std::unique_ptr<SphinxDecoder> m_decoder; ///< While it is recognised.
    std::vector<float> m_early;               ///< What came before the begin.
    QString m_reported;
};

class SphinxRequest final : public SpeechRecogniser::Request
{
public:
    explicit SphinxRequest(SerialQueue &queue)
        : m_queue(queue)
    {}

    void append(Microphone::Block block) override
    {
        if (m_recognition->isCancelled())
            return;
        m_queue.async([recognition = m_recognition, samples = std::vector<float>(block.begin(), block.end())] {
            recognition->process(samples);
        });
    }
    void endAudio() override
    {
        m_queue.async([recognition = m_recognition] { recognition->finish(); });
    }

    [[nodiscard]] const std::shared_ptr<Recognition> &recognition() const { return m_recognition; }

private:
    SerialQueue &m_queue;
    std::shared_ptr<Recognition> m_recognition = std::make_shared<Recognition>();
};

class SphinxTask final : public SpeechRecogniser::Task
{
public:
    SphinxTask(SerialQueue &queue, std::shared_ptr<Recognition> recognition)
        : m_queue(queue)
        , m_recognition(std::move(recognition))
    {}
    ~SphinxTask() override { cancel(); } // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)

    void cancel() override
    {
        if (m_recognition->isCancelled())
            return;
        m_recognition->cancel();
        m_queue.async([recognition = m_recognition] { recognition->release(); });
    }

private:
    SerialQueue &m_queue;
    const std::shared_ptr<Recognition> m_recognition;
};

} // namespace

PocketSphinxRecogniser::PocketSphinxRecogniser(QString modelFolder)
    : m_modelFolder(std::move(modelFolder))
{}

PocketSphinxRecogniser::~PocketSphinxRecogniser() = default;

void PocketSphinxRecogniser::requestAuthorisation(std::function<void(Authorisation status)> done)
{
    queue().async([this, done = std::move(done)] {
        m_hasLibrary = !SphinxDecoder::libraryProblem();
        done(Authorisation::Authorised);
    });
}

bool PocketSphinxRecogniser::isAvailable() const
{
    return m_hasLibrary && SphinxDecoder::hasModel(m_modelFolder);
}

std::shared_ptr<SpeechRecogniser::Request> PocketSphinxRecogniser::makeRequest()
{
    return std::make_shared<SphinxRequest>(queue());
}

std::unique_ptr<SpeechRecogniser::Task> PocketSphinxRecogniser::recognise(const std::shared_ptr<Request> &request,
                                                                          Handlers handlers)
{
    const auto &recognition = std::static_pointer_cast<SphinxRequest>(request)->recognition();
    queue().async([recognition, folder = m_modelFolder, handlers = std::move(handlers)] {
        recognition->begin(folder, handlers);
    });
    return std::make_unique<SphinxTask>(queue(), recognition);
}

SerialQueue &PocketSphinxRecogniser::queue()
{
    if (!m_queue)
        m_queue = std::make_unique<SerialQueue>("com.vantry.speech");
    return *m_queue;
}

} // namespace vantry
