#pragma once

#include "base/WorkerPool.h"
#include "platform/SpeechRecogniser.h"

#include <atomic>
#include <optional>

namespace vantry {

/// Recognises American English on this machine, without a network, each recognition in a process of its own, the
/// program vantry-speech: what a damaged model does to it leaves this one alone, and the model's memory goes with it.
/// There is nobody here to give leave, so it is always given. Destroying it cancels what is being recognised.
class LinuxSpeechRecogniser final : public SpeechRecogniser
{
public:
    /// `program` is vantry-speech's path.
    LinuxSpeechRecogniser(QString program, QString modelFolder);

    /// Finds out whether the program runs, too, which isAvailable() knows from then on.
    void requestAuthorisation(std::function<void(Authorisation status)> done) override;
    [[nodiscard]] bool isAvailable() const override;
    [[nodiscard]] std::shared_ptr<Request> makeRequest() override;
    [[nodiscard]] std::unique_ptr<Task> recognise(const std::shared_ptr<Request> &request, Handlers handlers) override;

    /// The folder of the model as its package has it.
    [[nodiscard]] static QString systemModel();
    /// Why nothing can be recognised, if so. Runs the program: any thread but the main one.
    [[nodiscard]] std::optional<QString> problem() const;

private:
    /// More than one, because the panel and the notch have a dictation each.
    static constexpr int atOnce = 3;

    const QString m_program;
    const QString m_modelFolder;
    std::atomic<bool> m_runs { true };                             ///< As far as it is known.
    WorkerPool m_workers { atOnce, WorkerPool::Priority::Normal }; ///< Last: its tasks use all of the above.
};

} // namespace vantry
