#pragma once

#include "panels/ChatViewModel.h"
#include "sessions/PendingPermissionStore.h"
#include "support/EventBuilder.h"
#include "support/FakeHookConnection.h"
#include "support/FakeMicrophone.h"
#include "support/FakeProcessChecker.h"
#include "support/FakeSessionStore.h"
#include "support/FakeSpeechRecogniser.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace vantry::test {

using namespace Qt::StringLiterals;

/// The line of a transcript with a text of the user's.
inline QByteArray userLine(const QByteArray &id, const QByteArray &text)
{
    return R"({"type":"user","uuid":")" + id + R"(","message":{"content":")" + text + "\"}}\n";
}
inline QByteArray assistantLine(const QByteArray &id, const QByteArray &text)
{
    return R"({"type":"assistant","uuid":")" + id + R"(","message":{"content":[{"type":"text","text":")" + text +
           "\"}]}}\n";
}

/// The session "s" with a transcript, and what a chat of it works with. What the chat does is kept in `calls`, and done
/// to the held requests as the application does it.
class ChatFixture : public ::testing::Test
{
protected:
    ChatFixture()
    {
        QObject::connect(&held, &PendingPermissionStore::pendingChanged, &changes, [this](const QString &sessionID) {
            manager.heldRequestsChanged(sessionID);
            changes.touch(sessionID);
        });
        manager.handleEvent(EventBuilder(HookEventType::sessionStart)
                                .terminal(u"tmux-pane"_s, u"/tmp/tmux,%1"_s)
                                .transcriptPath(transcript()));
        session()->setState(SessionState::working);
        mainQueue.drainAll();
    }

    [[nodiscard]] SessionPtr session() const { return manager.session(u"s"_s); }
    [[nodiscard]] QString transcript() const { return home.filePath(u"t.jsonl"_s); }
    void append(const QByteArray &lines) const
    {
        QFile file(transcript());
        ASSERT_TRUE(file.open(QFile::WriteOnly | QFile::Append));
        file.write(lines);
    }

    [[nodiscard]] SessionCallbacks callbacks()
    {
        SessionCallbacks given;
        given.onFocusSession = [this](const SessionPtr &s) { calls.append(u"focus "_s + s->id()); };
        given.onAllowSession = [this](const SessionPtr &s) { answerHeld(s, u"allow"_s, SessionState::working); };
        given.onDenySession = [this](const SessionPtr &s, bool stop) {
            answerHeld(s, stop ? u"stop"_s : u"deny"_s, stop ? SessionState::ready : SessionState::working);
        };
        given.onAlwaysAllowSession = [this](const SessionPtr &s) { answerHeld(s, u"always"_s, SessionState::working); };
        given.hasAlwaysAllowSuggestions = [this](const SessionPtr &s) {
            return held.hasAlwaysAllowSuggestions(s->id());
        };
        given.heldRequestID = [this](const SessionPtr &s) {
            const PendingPermission *request = held.firstHeld(s->id());
            return request ? request->id.toString() : QString();
        };
        given.onSendText = [this](const SessionPtr &s, const QString &text) {
            calls.append(u"send %1: %2"_s.arg(s->id(), text));
        };
        given.onAnswerQuestion = [this](const SessionPtr &s, int index) {
            calls.append(u"answer %1: %2"_s.arg(s->id()).arg(index));
        };
        given.onKillSession = [this](const SessionPtr &s) { calls.append(u"kill "_s + s->id()); };
        given.canType = [this](const SessionPtr &) { return canType; };
        given.refusalOfText = [this](const SessionPtr &) { return textRefusal; };
        given.refusalOfAnswer = [this](const SessionPtr &, int) { return answerRefusal; };
        given.terminalName = [this](const SessionPtr &) { return terminalName; };
        given.openUrl = [this](const QUrl &url) { calls.append(u"open "_s + url.toString()); };
        return given;
    }
    [[nodiscard]] PanelServices services()
    {
        PanelServices given { manager, changes,   store,    git, workers,    mainQueue,
                              clock,   scheduler, defaults, log, home.path() };
        if (hasDictation)
            given.makeDictation = [this] { return std::make_unique<DictationService>(microphone, &speech, mainQueue); };
        return given;
    }

    void makeChat() { chat = std::make_unique<ChatViewModel>(services(), callbacks(), session()); }
    /// The chat, with what stands in the transcript.
    void openChat()
    {
        makeChat();
        chat->setVisible(true);
        settle();
    }
    /// Lets what is being read be read.
    void settle()
    {
        do
            workers.waitForDone();
        while (mainQueue.drainAll() > 0);
    }
    void wait(double seconds)
    {
        scheduler.advance(Seconds { seconds });
        settle();
    }
    /// Has the session change and tells the chat.
    template <typename Change>
    void change(Change change)
    {
        change(*session());
        mainQueue.drainAll();
    }
    void understand(const QString &text)
    {
        speech.understand(text);
        mainQueue.drainAll();
    }
    void setState(SessionState state)
    {
        change([state](VantrySession &s) { s.setState(state); });
    }
    std::shared_ptr<FakeHookConnection> hold(const HookEvent &event)
    {
        auto connection = std::make_shared<FakeHookConnection>();
        held.add(event, connection);
        manager.handleEvent(event);
        mainQueue.drainAll();
        return connection;
    }
    [[nodiscard]] static EventBuilder request(const QString &tool = u"Bash"_s, const QString &detail = u"ls"_s)
    {
        EventBuilder event(HookEventType::permissionRequest);
        event.tool(tool).detail(detail);
        return event;
    }
    [[nodiscard]] static HookEvent::Question question(const QString &text, int options, bool multiSelect = false)
    {
        HookEvent::Question asked { text, std::nullopt, std::vector<HookEvent::QuestionOption>(), multiSelect };
        for (int i = 0; i < options; ++i)
            asked.options->push_back({ u"Option %1"_s.arg(i), std::nullopt });
        return asked;
    }
    void ask(std::vector<HookEvent::Question> questions)
    {
        change([&](VantrySession &s) {
            s.setQuestions(std::move(questions));
            s.setState(SessionState::hasQuestion);
        });
    }

    /// One value for each row of the list.
    [[nodiscard]] QVariantList column(int role) const
    {
        QVariantList values;
        for (int row = 0; row < chat->messages()->count(); ++row)
            values.append(chat->messages()->index(row).data(role));
        return values;
    }
    [[nodiscard]] QStringList texts() const
    {
        QStringList list;
        for (const QVariant &head : column(ChatMessageModel::HeadRole))
            list.append(head.value<MarkdownText>().text());
        return list;
    }

    QTemporaryDir home;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    RecordingLog log;
    FakeSessionStore store;
    FakeProcessChecker processes;
    WorkerPool workers;
    GitFacts git { mainQueue, workers, u"/nonexistent/git"_s };
    PendingPermissionStore held { clock, scheduler, log };
    SessionManager manager { store, processes, git, held, clock, log };
    SessionChanges changes { manager, mainQueue };
    Defaults defaults { home.filePath(u"settings.json"_s), mainQueue, log };

    FakeMicrophone microphone;
    FakeSpeechRecogniser speech;
    bool hasDictation { true };

    QStringList calls;
    bool canType { true };
    std::optional<QString> textRefusal;
    std::optional<QString> answerRefusal;
    QString terminalName { u"tmux"_s };
    std::unique_ptr<ChatViewModel> chat;

private:
    void answerHeld(const SessionPtr &s, const QString &call, SessionState next)
    {
        const PendingPermission *request = held.firstHeld(s->id());
        calls.append(u"%1 %2"_s.arg(call, request ? request->event.toolName.value_or(QString()) : u"in terminal"_s));
        if (request)
            held.resolve(QUuid(request->id), PermissionDecision::allow);
        manager.answered(s, next);
    }
};

} // namespace vantry::test
