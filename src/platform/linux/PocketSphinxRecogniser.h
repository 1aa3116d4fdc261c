#pragma once

#include "base/SerialQueue.h"
#include "platform/SpeechRecogniser.h"

#include <atomic>

namespace vantry {

/// Recognises American English on this machine, without a network. The library and the model are loaded in a thread of
/// this object's, when a recognition begins; the model goes with its end. There is nobody here to give leave, so it is
/// always given. Outlives the requests and tasks that it made.
class PocketSphinxRecogniser final : public SpeechRecogniser
{
public:
    explicit PocketSphinxRecogniser(QString modelFolder);
    ~PocketSphinxRecogniser() override;

    /// Finds out whether the library is there, too, which isAvailable() knows from then on.
    void requestAuthorisation(std::function<void(Authorisation status)> done) override;
    [[nodiscard]] bool isAvailable() const override;
    [[nodiscard]] std::shared_ptr<Request> makeRequest() override;
    [[nodiscard]] std::unique_ptr<Task> recognise(const std::shared_ptr<Request> &request, Handlers handlers) override;

private:
    SerialQueue &queue();

    const QString m_modelFolder;
    std::atomic<bool> m_hasLibrary { true }; ///< As far as it is known.
    std::unique_ptr<SerialQueue> m_queue;    ///< Last: its tasks use all of the above. Unset until there is one.
};

} // namespace vantry
