#pragma once

#include "platform/SpeechRecogniser.h"

#include <gtest/gtest.h>

#include <utility>

namespace vantry::test {

/// A recogniser that understands what a test says it does.
class FakeSpeechRecogniser final : public SpeechRecogniser
{
public:
    class FakeRequest final : public Request
    {
    public:
        void append(Microphone::Block block) override { frames += block.size(); }
        void endAudio() override { isEnded = true; }

        std::size_t frames { 0 };
        bool isEnded { false };
    };

    void requestAuthorisation(std::function<void(Authorisation)> done) override
    {
        if (answersAuthorisation)
            done(authorisation);
        else
            heldAuthorisation = std::move(done);
    }
    [[nodiscard]] bool isAvailable() const override { return available; }
    std::shared_ptr<Request> makeRequest() override { return request = std::make_shared<FakeRequest>(); }
    std::unique_ptr<Task> recognise(const std::shared_ptr<Request> &given, Handlers handlersGiven) override
    {
        EXPECT_EQ(given, request);
        ++tasks;
        handlers = std::move(handlersGiven);
        return std::make_unique<FakeTask>(*this);
    }

    void understand(const QString &text) const { handlers.onResult(text); }
    void fail(int code, const QString &description) const { handlers.onError({ code, description }); }

    bool answersAuthorisation { true };
    Authorisation authorisation { Authorisation::Authorised };
    bool available { true };

    std::function<void(Authorisation)> heldAuthorisation;
    std::shared_ptr<FakeRequest> request; ///< The last one.
    Handlers handlers;                    ///< Those of the last task, also after its end.
    int tasks { 0 };
    int cancellations { 0 };

private:
    class FakeTask final : public Task
    {
    public:
        explicit FakeTask(FakeSpeechRecogniser &recogniser)
            : m_recogniser(recogniser)
        {}
        void cancel() override { ++m_recogniser.cancellations; }

    private:
        FakeSpeechRecogniser &m_recogniser;
    };
};

} // namespace vantry::test
