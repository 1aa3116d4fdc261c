#pragma once

#include "support/FakeApplications.h"
#include "support/FakeTerminalDriver.h"
#include "support/ManualClock.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"
#include "support/RecordingScriptHost.h"
#include "terminal/TerminalBridge.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>

inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace vantry::test {

using namespace Qt::StringLiterals;

/// A session in this terminal; no text stands for what was not reported.
inline SessionPtr sessionIn(const std::optional<QString> &type, const std::optional<QString> &terminalSessionID,
                            SessionState state = SessionState::ready)
{
    VantrySession::Init init;
    init.id = u"s"_s;
    init.terminalType = type;
    init.terminalSessionID = terminalSessionID;
    init.state = state;
    return std::make_shared<VantrySession>(init);
}

inline HookEvent::Question questionWith(int options, bool multiSelect = false)
{
    HookEvent::Question question { .question = u"Which?"_s, .header = {}, .options = {}, .multiSelect = multiSelect };
    question.options.emplace();
    for (int i = 0; i < options; ++i)
        question.options->push_back({ .label = QString::number(i), .description = {} });
    return question;
}

/// A session that waits for the answers to these questions.
inline SessionPtr askingSession(const std::optional<QString> &type, const std::optional<QString> &terminalSessionID,
                                std::vector<HookEvent::Question> questions)
{
    const SessionPtr session = sessionIn(type, terminalSessionID, SessionState::hasQuestion);
    session->setQuestions(std::move(questions));
    return session;
}

/// A bridge over fakes, with two terminals that can be driven: "tmux-pane" and "kitty-window".
class TerminalBridgeFixture : public ::testing::Test
{
protected:
    /// Made on first use, so that a test can set up its surroundings first.
    TerminalBridge &bridge()
    {
        if (!m_bridge)
            m_bridge = std::make_unique<TerminalBridge>(TerminalBridge::Ports { .mainQueue = mainQueue,
                                                                                .scheduler = scheduler,
                                                                                .log = log,
                                                                                .scripts = scripts,
                                                                                .applications = applications,
                                                                                .drivers = drivers,
                                                                                .liveSessions = [this] { return live; },
                                                                                .agentHelp = agentHelp },
                                                        u"/usr/bin/python3"_s);
        return *m_bridge;
    }
    void destroyBridge() { m_bridge.reset(); }

    /// Keeps how an operation ends.
    TerminalBridge::Completion keep()
    {
        return [this](const auto &failure) { outcomes.append(failure.value_or(u"done"_s)); };
    }
    /// Lets time pass and calls return until so many operations have ended.
    void waitForOutcomes(qsizetype count)
    {
        while (outcomes.size() < count) {
            if (mainQueue.drainAll() > 0)
                continue;
            if (scheduler.activeTimers() > 0)
                scheduler.advance(Seconds { 0.1 });
            else
                ASSERT_TRUE(mainQueue.drainWhenPosted()) << "an operation does not end";
        }
    }
    /// How one operation ended.
    QString outcome()
    {
        waitForOutcomes(1);
        return outcomes.size() == 1 ? outcomes.takeFirst() : u"none"_s;
    }

    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    RecordingScriptHost scripts;
    FakeApplications applications;
    FakeTerminalDriver tmux { u"tmux"_s, u"tmux-pane"_s };
    FakeTerminalDriver kitty { u"kitty"_s, u"kitty-window"_s };
    std::vector<TerminalDriver *> drivers { &tmux, &kitty };
    QList<SessionPtr> live;
    std::function<std::optional<QString>()> agentHelp;
    QStringList outcomes; ///< A failure, or "done".

private:
    std::unique_ptr<TerminalBridge> m_bridge;
};

} // namespace vantry::test
