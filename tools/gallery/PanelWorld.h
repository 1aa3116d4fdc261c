#pragma once

#include "base/Defaults.h"
#include "base/WorkerPool.h"
#include "notch/NotchViewModel.h"
#include "panels/MenuBarViewModel.h"
#include "panels/PanelServices.h"
#include "panels/SessionCallbacks.h"
#include "sessions/GitFacts.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"
#include "sessions/SessionStore.h"
#include "support/FakeMicrophone.h"
#include "support/FakeProcessChecker.h"
#include "support/FakeSpeechRecogniser.h"
#include "support/ManualClock.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingLog.h"
#include "telegram/TelegramService.h"

#include <QSet>
#include <QStringList>
#include <QTemporaryDir>

namespace vantry::gallery {

/// What the panel shows of an invented session.
struct SessionFacts
{
    QString project;
    SessionState state { SessionState::ready };
    QString branch {};
    int linesAdded { 0 };
    int linesRemoved { 0 };
    int contextUsed { -1 }; ///< Percent; -1: unknown.
    QString message {};
    QString tool {};
    QString toolDetail {};
    int minutesAgo { 0 };
    QStringList options {}; ///< Of the question that it asks.
    bool suggestsRule { true };
    QByteArray transcript {};                         ///< Its lines; empty: there is none.
    QString terminal { QStringLiteral("tmux-pane") }; ///< Of which only this one can be typed into.
};

/// The panel's view models over real services, a home of their own, and a time that stands still. What the user does is
/// written down. Main thread only.
class PanelWorld
{
public:
    PanelWorld();
    ~PanelWorld();
    PanelWorld(const PanelWorld &) = delete;
    PanelWorld &operator=(const PanelWorld &) = delete;

    [[nodiscard]] MenuBarViewModel &panel() { return m_panel; }
    /// What the notch shows of the same sessions.
    [[nodiscard]] NotchViewModel &notch() { return m_notch; }
    [[nodiscard]] SessionManager &manager() { return m_manager; }
    /// Which reaches no server.
    [[nodiscard]] TelegramService &telegram() { return m_telegram; }
    [[nodiscard]] test::ManualScheduler &scheduler() { return m_scheduler; }
    /// What the view models work with, and what they have done.
    [[nodiscard]] PanelServices services();
    [[nodiscard]] SessionCallbacks callbacks();
    [[nodiscard]] Date now() const { return m_clock.now(); }
    [[nodiscard]] QString home() const { return m_home.path(); }
    /// Of a project under the home, whether or not it is there.
    [[nodiscard]] QString projectPath(const QString &project) const;

    /// A live session. Its identifier is the project's name unless another is given.
    SessionPtr add(const SessionFacts &facts, const QString &id = {});
    /// A session that has ended, which the browser finds.
    void addRemembered(const SessionFacts &facts, const QString &id, const QString &snippet);
    /// A project in which the agent was used, with the first prompts of its latest sessions.
    void addProject(const QString &project, int minutesAgo, const QStringList &prompts = {}) const;
    /// What the microphone hears of one who dictates, and what is understood of it.
    void dictate(const QString &text);
    /// Ends a session.
    void end(const QString &id);

    /// Lets what is under way come to its end: work in other threads, what it posts, and timers that are due.
    void settle();
    /// The same, after this time.
    void settleAfter(Seconds time);

    QStringList acts;                    ///< What the user did, as in "allow storefront-web".
    QSet<QString> sessionsWithoutAnswer; ///< Those whose terminal takes no option of a question.

private:
    QTemporaryDir m_home;
    test::ManualClock m_clock;
    test::ManualScheduler m_scheduler { m_clock };
    test::ManualMainQueue m_mainQueue;
    test::RecordingLog m_log;
    WorkerPool m_workers;
    test::FakeProcessChecker m_processes;
    SessionStore m_store;
    GitFacts m_git { m_mainQueue, m_workers };
    GitFacts m_noGit { m_mainQueue, m_workers, QStringLiteral("/nonexistent/git") };
    PendingPermissionStore m_held { m_clock, m_scheduler, m_log };
    SessionManager m_manager { m_store, m_processes, m_noGit, m_held, m_clock, m_log };
    SessionChanges m_changes { m_manager, m_mainQueue };
    Defaults m_defaults;
    TelegramService m_telegram { { m_scheduler, m_mainQueue, m_defaults, m_log }, QStringLiteral("nowhere") };
    test::FakeMicrophone m_microphone;
    test::FakeSpeechRecogniser m_recogniser;
    QSet<QString> m_withRule;
    MenuBarViewModel m_panel;
    NotchViewModel m_notch;
};

} // namespace vantry::gallery
