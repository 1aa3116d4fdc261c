#include "Eventually.h"
#include "Vantry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <random>
#include <thread>

namespace vantry::test {
namespace {

constexpr int rounds = 200;
constexpr int sessionCount = 6;

/// Posts numbered prompts to a few sessions, one after the other, until it is told to stop; ends a session now and
/// then, which writes the search index, too.
class Storm
{
public:
    explicit Storm(int round)
        : m_round(round)
        , m_thread([this] { blow(); })
    {}
    ~Storm()
    {
        m_over = true;
        m_thread.join();
    }
    Storm(const Storm &) = delete;
    Storm &operator=(const Storm &) = delete;

private:
    void blow()
    {
        for (int i = 0; !m_over; ++i) {
            const std::string id = "s" + std::to_string(i % sessionCount);
            HookCall::post(event("UserPromptSubmit", id, { { "prompt", std::to_string(m_round * 100'000 + i) } }))
                .body();
            if (i % 7 == 6)
                HookCall::post(event("SessionEnd", "e" + std::to_string(m_round))).body();
            else if (i % 7 == 0)
                HookCall::post(event("SessionStart", "e" + std::to_string(m_round))).body();
        }
    }

    const int m_round;
    std::atomic<bool> m_over { false };
    std::thread m_thread;
};

TEST(CrashStorm, losesNothingThatWasShown)
{
    Vantry vantry;
    std::mt19937 random(1);
    std::map<std::string, int> shownPrompts;
    int shownAtAll = 0;
    for (int round = 1; round <= rounds; ++round) {
        ASSERT_NO_FATAL_FAILURE(vantry.start()) << "round " << round;
        {
            const Storm storm(round);
            const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(random() % 60);
            do {
                const Json document = vantry.document();
                if (!document.is_object())
                    continue;
                for (const Json &session : document.at("sessions")) {
                    if (session.at("lastPrompt").is_string()) {
                        shownPrompts[session.at("id")] = std::stoi(session.at("lastPrompt").get<std::string>());
                        ++shownAtAll;
                    }
                }
            } while (std::chrono::steady_clock::now() < end);
            vantry.killHard();
        }

        ASSERT_EQ(vantry.query("PRAGMA integrity_check"), std::vector<std::string> { "ok" }) << "round " << round;
        for (const auto &[id, prompt] : shownPrompts) {
            const auto kept = vantry.query(("SELECT last_prompt FROM sessions WHERE id = '" + id + "'").c_str());
            ASSERT_EQ(kept.size(), 1) << id;
            ASSERT_GE(std::stoi(kept.front()), prompt) << id << " in round " << round;
        }
    }
    EXPECT_GT(shownAtAll, rounds) << "the storm has to be seen before it is cut off";

    vantry.start();
    EXPECT_TRUE(isHealthy());
}

} // namespace
} // namespace vantry::test
