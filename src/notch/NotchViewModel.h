#pragma once

#include "base/Scheduler.h"
#include "panels/MenuBarViewModel.h"
#include "panels/SessionCallbacks.h"
#include "sessions/SessionManager.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>

namespace vantry {

class NotificationService;
class SoundService;
class TelegramService;

/// What the notch's views read: the state of all sessions in two glyphs, and the peek that is published. Owned by
/// NotchController, and kept by a surface that is on its way out. Main thread only.
class NotchViewModel final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the application")
    Q_PROPERTY(bool hasAttention READ hasAttention NOTIFY changed)
    Q_PROPERTY(int attentionCount READ attentionCount NOTIFY attentionCountChanged)
    Q_PROPERTY(bool hasWorkingSessions READ hasWorkingSessions NOTIFY changed)
    Q_PROPERTY(vantry::NotchViewModel::Glyph glyph READ glyph NOTIFY changed)
    Q_PROPERTY(QString countText READ countText NOTIFY changed)
    Q_PROPERTY(QString accessibleText READ accessibleText NOTIFY changed)
    Q_PROPERTY(bool isPeekMode READ isPeekMode NOTIFY peekChanged)
    Q_PROPERTY(bool showingPeek READ isShowingPeek NOTIFY peekChanged)
    Q_PROPERTY(QString peekMessage READ peekText NOTIFY peekChanged)
    /// Made when it is first read.
    Q_PROPERTY(vantry::MenuBarViewModel *panel READ panel CONSTANT)

public:
    /// What the compact notch shows at its left, the most urgent first.
    enum Glyph { Permission, Question, Working, Idle };
    Q_ENUM(Glyph)

    using MakePanel = std::function<std::unique_ptr<MenuBarViewModel>()>;

    /// How long a peek is shown.
    static constexpr std::chrono::seconds peekDuration { 5 };
    /// Of the expanded panel, in logical pixels at text scale 1.
    static constexpr int panelWidth = 390;
    static constexpr int panelHeight = 420;

    /// Manager and scheduler must outlive this. `makePanel` makes the expanded notch's own panel, with its own
    /// dictation; it may be called once as long as this lives.
    NotchViewModel(SessionManager &sessionManager, Scheduler &scheduler, SessionCallbacks callbacks,
                   MakePanel makePanel);
    ~NotchViewModel() override;

    /// The alive sessions, in the manager's order.
    [[nodiscard]] const QList<SessionPtr> &sessions() const { return m_facts.sessions; }
    /// Some session waits for the user or is ready.
    [[nodiscard]] bool hasAttention() const { return m_facts.hasAttention; }
    /// Of the sessions that wait for the user; those that are ready don't count.
    [[nodiscard]] int attentionCount() const { return m_facts.attentionCount; }
    [[nodiscard]] bool hasWorkingSessions() const { return m_facts.hasWorkingSessions; }
    /// `needsPermission` before `hasQuestion`; nothing when no session waits.
    [[nodiscard]] std::optional<SessionState> mostUrgentState() const { return m_facts.mostUrgentState; }
    [[nodiscard]] Glyph glyph() const;
    /// The number of sessions that wait; empty when none does.
    [[nodiscard]] QString countText() const;
    /// The two glyphs in words.
    [[nodiscard]] QString accessibleText() const;

    // The peek that is published; absent or false without one.
    [[nodiscard]] bool isPeekMode() const { return m_peek.isPeekMode; }
    [[nodiscard]] bool isShowingPeek() const { return m_peek.isShowing; }
    [[nodiscard]] const SessionPtr &peekSession() const { return m_peek.session; }
    [[nodiscard]] const std::optional<QString> &peekMessage() const { return m_peek.message; }
    [[nodiscard]] QString peekText() const { return m_peek.message.value_or(QString()); }

    [[nodiscard]] const SessionCallbacks &callbacks() const { return m_callbacks; }
    MenuBarViewModel *panel();

    // Set by the application, null before; they outlive this. Reserved for notch views that switch them: those of the
    // expanded panel have their own way to them.
    TelegramService *telegramService { nullptr };
    NotificationService *notificationService { nullptr };
    SoundService *soundService { nullptr };

    /// Reads the sessions again. A published peek whose session waits no more is cleared.
    void refresh();
    /// Publishes a peek, for five seconds.
    void showPeek(const SessionPtr &session);
    void clearPeek();
    /// Alone; the rest of the peek stays.
    void leavePeekMode();
    /// Whether the panel is seen: while it isn't, no timer of it runs.
    void setPanelVisible(bool visible);

Q_SIGNALS:
    void changed();
    void attentionCountChanged();
    void peekChanged();
    /// The user wants the panel to go.
    void closeRequested();

private:
    struct Facts
    {
        QList<SessionPtr> sessions {};
        bool hasAttention { false };
        int attentionCount { 0 };
        bool hasWorkingSessions { false };
        std::optional<SessionState> mostUrgentState {};

        friend bool operator==(const Facts &, const Facts &) = default;
    };
    struct Peek
    {
        bool isPeekMode { false };
        bool isShowing { false };
        SessionPtr session {};
        std::optional<QString> message {};

        friend bool operator==(const Peek &, const Peek &) = default;
    };

    [[nodiscard]] static Facts factsOf(const QList<SessionPtr> &all);
    void setPeek(const Peek &peek);

    SessionManager &m_sessionManager;
    Scheduler &m_scheduler;
    const SessionCallbacks m_callbacks;
    const MakePanel m_makePanel;
    Facts m_facts;
    Peek m_peek;
    ScheduledTimer m_peekDismissal;
    std::unique_ptr<MenuBarViewModel> m_panel;
};

} // namespace vantry
