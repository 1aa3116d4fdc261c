#include "panels/DictationService.h"

#include "panels/AudioLevel.h"

#include <utility>

namespace vantry {

using namespace Qt::StringLiterals;

namespace {

QList<qreal> silence()
{
    return QList<qreal>(7, 0.0);
}

/// Runs the action on the main thread, unless what it belongs to has ended by then. Any thread.
template <typename Action>
void postDuring(MainQueue &mainQueue, const std::weak_ptr<char> &life, Action action)
{
    mainQueue.post([life, action = std::move(action)] {
        if (!life.expired())
            action();
    });
}

} // namespace

DictationService::DictationService(Microphone &microphone, SpeechRecogniser *recogniser, MainQueue &mainQueue,
                                   QObject *parent)
    : QObject(parent)
    , m_microphone(microphone)
    , m_mainQueue(mainQueue)
    , m_audioLevels(silence())
    , m_recognizer(recogniser)
    , m_life(std::make_shared<char>())
{}

DictationService::~DictationService() = default;

void DictationService::requestAuthorization(Completion completion)
{
    using Status = SpeechRecogniser::Authorisation;
    const auto take = [this, completion = std::move(completion)](Status status) {
        if (status == Status::Authorised) {
            requestMicrophone(completion);
            return;
        }
        setError(u"Speech recognition not authorized"_s);
        completion(false);
    };
    if (!m_recognizer) {
        // There is nobody to ask; the start will say what is missing.
        take(Status::Authorised);
        return;
    }
    m_recognizer->requestAuthorisation([&queue = m_mainQueue, life = std::weak_ptr(m_life), take](Status status) {
        postDuring(queue, life, [take, status] { take(status); });
    });
}

void DictationService::requestMicrophone(const Completion &completion)
{
    const auto take = [this, completion](bool isGranted) {
        if (!isGranted)
            setError(u"Microphone access not authorized"_s);
        completion(isGranted);
    };
    m_microphone.requestAccess([&queue = m_mainQueue, life = std::weak_ptr(m_life), take](bool isGranted) {
        postDuring(queue, life, [take, isGranted] { take(isGranted); });
    });
}

void DictationService::start()
{
    // A microphone that is being started counts as one that is listened to.
    if (m_listening)
        return;
    if (!m_recognizer || !m_recognizer->isAvailable()) {
        setError(u"Speech recognition unavailable"_s);
        return;
    }
    setTranscript({});
    setError(std::nullopt);
    setLevels(silence());

    m_recognitionRequest = m_recognizer->makeRequest();
    m_listening = std::make_shared<char>();
    const std::weak_ptr<char> listening = m_listening;
    Microphone::Handlers handlers;
    handlers.onBlock = [this, &queue = m_mainQueue, listening,
                        request = m_recognitionRequest](Microphone::Block block) {
        request->append(block);
        if (const auto level = audioLevel(block))
            postDuring(queue, listening, [this, level] { addLevel(*level); });
    };
    handlers.onStarted = [this, listening](const std::optional<QString> &failure) {
        if (!listening.expired())
            takeStart(failure);
    };
    handlers.onLost = [this, listening](const QString &failure) {
        if (!listening.expired())
            takeFailure({ 0, failure });
    };
    auto engine = m_microphone.start(std::move(handlers));
    // The start may have failed already.
    if (!listening.expired())
        m_audioEngine = std::move(engine);
}

void DictationService::takeStart(const std::optional<QString> &failure)
{
    if (!failure) {
        startRecognition();
        return;
    }
    m_listening.reset();
    m_audioEngine.reset();
    m_recognitionRequest.reset();
    setError(u"Failed to start audio: "_s + *failure);
}

void DictationService::startRecognition()
{
    const std::weak_ptr<char> listening = m_listening;
    SpeechRecogniser::Handlers handlers;
    handlers.onResult = [this, &queue = m_mainQueue, listening](const QString &text) {
        postDuring(queue, listening, [this, text] { setTranscript(text); });
    };
    handlers.onError = [this, &queue = m_mainQueue, listening](const SpeechRecogniser::Failure &failure) {
        postDuring(queue, listening, [this, failure] { takeFailure(failure); });
    };
    m_recognitionTask = m_recognizer->recognise(m_recognitionRequest, std::move(handlers));
    setListening(true);
}

void DictationService::stop()
{
    m_listening.reset();
    m_audioEngine.reset();
    if (m_recognitionRequest)
        m_recognitionRequest->endAudio();
    if (m_recognitionTask)
        m_recognitionTask->cancel();
    m_recognitionTask.reset();
    m_recognitionRequest.reset();
    m_levelTimer.cancel();
    setListening(false);
    setLevels(silence());
}

void DictationService::takeFailure(const SpeechRecogniser::Failure &failure)
{
    if (failure.code != SpeechRecogniser::cancelled)
        setError(failure.description);
    stop();
}

void DictationService::addLevel(float level)
{
    if (!m_isListening)
        return;
    QList<qreal> levels = m_audioLevels;
    levels.removeFirst();
    levels.append(level);
    setLevels(levels);
}

void DictationService::setTranscript(const QString &transcript)
{
    if (std::exchange(m_transcript, transcript) != transcript)
        Q_EMIT transcriptChanged();
}

void DictationService::setListening(bool listening)
{
    if (std::exchange(m_isListening, listening) != listening)
        Q_EMIT isListeningChanged();
}

void DictationService::setError(const std::optional<QString> &error)
{
    if (std::exchange(m_error, error) != error)
        Q_EMIT errorChanged();
}

void DictationService::setLevels(const QList<qreal> &levels)
{
    if (std::exchange(m_audioLevels, levels) != levels)
        Q_EMIT audioLevelsChanged();
}

} // namespace vantry
