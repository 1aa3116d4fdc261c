#pragma once

#include "platform/Microphone.h"

#include <QString>

#include <functional>
#include <memory>

namespace vantry {

/// Turns speech into text. Main thread only, but for requests.
class SpeechRecogniser
{
public:
    enum class Authorisation { NotDetermined, Denied, Restricted, Authorised };

    /// What is spoken, as it comes. Any thread; none of its operations waits.
    class Request
    {
    public:
        virtual ~Request() = default;

        virtual void append(Microphone::Block block) = 0;
        /// There will be no more.
        virtual void endAudio() = 0;
    };

    /// One recognition; destroying it cancels it.
    class Task
    {
    public:
        virtual ~Task() = default;

        /// No handler is called from now on, but one that is being called is not waited for.
        virtual void cancel() = 0;
    };

    struct Failure
    {
        int code { 0 }; ///< See `cancelled`; everything else is the recogniser's own.
        QString description;
    };
    /// The code of a recognition that was given up because it was asked to.
    static constexpr int cancelled = 216;

    /// Called on any thread.
    struct Handlers
    {
        std::function<void(const QString &text)> onResult; ///< All that was understood so far; may change later.
        std::function<void(const Failure &failure)> onError;
    };

    virtual ~SpeechRecogniser() = default;

    /// Asks the user, where the system has them decide who may listen; `done` is called on any thread.
    virtual void requestAuthorisation(std::function<void(Authorisation status)> done) = 0;
    /// Whether there is all that it needs. Does not wait.
    [[nodiscard]] virtual bool isAvailable() const = 0;
    /// Reports partial results.
    [[nodiscard]] virtual std::shared_ptr<Request> makeRequest() = 0;
    /// Recognises what is appended to one of this recogniser's requests, and has been. Once for each.
    [[nodiscard]] virtual std::unique_ptr<Task> recognise(const std::shared_ptr<Request> &request,
                                                          Handlers handlers) = 0;
};

} // namespace vantry
