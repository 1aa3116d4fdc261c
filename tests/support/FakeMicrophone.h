#pragma once

#include "platform/Microphone.h"

#include <vector>

namespace vantry::test {

/// A microphone that a test speaks into. It answers at once unless the test holds its answers back.
class FakeMicrophone final : public Microphone
{
public:
    void requestAccess(std::function<void(bool)> done) override
    {
        ++accessRequests;
        if (answersAccess)
            done(isGranted);
        else
            heldAccess = std::move(done);
    }
    std::unique_ptr<Recording> start(Handlers given) override
    {
        ++starts;
        handlers = std::move(given);
        if (answersStart)
            handlers.onStarted(failure);
        return std::make_unique<FakeRecording>(*this);
    }

    void speak(const std::vector<float> &samples) const { handlers.onBlock(samples); }

    bool answersAccess { true };
    bool isGranted { true };
    bool answersStart { true };
    std::optional<QString> failure;

    int accessRequests { 0 };
    int starts { 0 };
    int recordings { 0 }; ///< Those that have not been ended.
    std::function<void(bool)> heldAccess;
    Handlers handlers; ///< Those of the last start, also after its end.

private:
    class FakeRecording final : public Recording
    {
    public:
        explicit FakeRecording(FakeMicrophone &microphone)
            : m_microphone(microphone)
        {
            ++m_microphone.recordings;
        }
        ~FakeRecording() override { --m_microphone.recordings; }

    private:
        FakeMicrophone &m_microphone;
    };
};

} // namespace vantry::test
