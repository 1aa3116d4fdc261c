#pragma once

#include "base/MainQueue.h"
#include "base/Scheduler.h"
#include "platform/Microphone.h"
#include "platform/SpeechRecogniser.h"

#include <QList>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>

namespace vantry {

/// Turns what the user says into text: listens, has it recognised, and tells the text so far and how loud it was. Each
/// owner makes its own; they share nothing. The recogniser may be absent; what is given must outlive this, and the
/// queue the threads of the microphone and the recogniser, too. Main thread only.
class DictationService : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by who takes dictation")

    /// The best transcription so far. Stays after the stop until the next start.
    Q_PROPERTY(QString transcript READ transcript NOTIFY transcriptChanged)
    /// From a start that succeeded to the stop.
    Q_PROPERTY(bool isListening READ isListening NOTIFY isListeningChanged)
    /// What failed, for the user; empty: nothing did. Stays after the stop until the next start.
    Q_PROPERTY(QString error READ errorText NOTIFY errorChanged)
    /// How loud the last seven blocks were, from 0 to 1, oldest first.
    Q_PROPERTY(QList<qreal> audioLevels READ audioLevels NOTIFY audioLevelsChanged)

public:
    using Completion = std::function<void(bool isGranted)>;

    DictationService(Microphone &microphone, SpeechRecogniser *recogniser, MainQueue &mainQueue,
                     QObject *parent = nullptr);
    ~DictationService() override;

    [[nodiscard]] const QString &transcript() const { return m_transcript; }
    [[nodiscard]] bool isListening() const { return m_isListening; }
    [[nodiscard]] const std::optional<QString> &error() const { return m_error; }
    [[nodiscard]] QString errorText() const { return m_error.value_or(QString()); }
    [[nodiscard]] const QList<qreal> &audioLevels() const { return m_audioLevels; }

    /// Asks for leave to recognise speech, then for the microphone, and tells whether both were given. Not called when
    /// this goes before the answer.
    void requestAuthorization(Completion completion);
    /// Needs leave. Does nothing while listening.
    void start();
    void stop();

Q_SIGNALS:
    void transcriptChanged();
    void isListeningChanged();
    void errorChanged();
    void audioLevelsChanged();

private:
    /// Held weakly by what may come from other threads after the end of what it belongs to.
    using Life = std::shared_ptr<char>;

    void requestMicrophone(const Completion &completion);
    void takeStart(const std::optional<QString> &failure);
    void startRecognition();
    void takeFailure(const SpeechRecogniser::Failure &failure);
    void addLevel(float level);
    void setTranscript(const QString &transcript);
    void setListening(bool listening);
    void setError(const std::optional<QString> &error);
    void setLevels(const QList<qreal> &levels);

    Microphone &m_microphone;
    MainQueue &m_mainQueue;
    QString m_transcript;
    bool m_isListening { false };
    std::optional<QString> m_error;
    QList<qreal> m_audioLevels;
    SpeechRecogniser *m_recognizer;
    std::shared_ptr<SpeechRecogniser::Request> m_recognitionRequest;
    std::unique_ptr<SpeechRecogniser::Task> m_recognitionTask;
    std::unique_ptr<Microphone::Recording> m_audioEngine;
    ScheduledTimer m_levelTimer; ///< Reserved for sampling levels at an interval: never runs.
    float m_currentRMS { 0 };    ///< Reserved for the same, as what is sampled: never written.
    Life m_life;                 ///< From the construction to the destruction.
    Life m_listening;            ///< From a start to its stop.
};

} // namespace vantry
