#pragma once

#include "base/Scheduler.h"
#include "panels/PanelServices.h"
#include "panels/RowListModel.h"
#include "panels/SessionCallbacks.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <chrono>
#include <functional>
#include <optional>

namespace vantry {

struct SessionRowFacts;

/// The live sessions in three sections: what waits for the user, what is ready, what works. A session that has just
/// been answered stays among those that wait for a while, so that the list doesn't jump under the pointer. Rows are
/// right at every moment while the list is visible, also without an event; while it isn't, no timer runs. Main thread
/// only.
class SessionListModel final : public vantry::RowListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by MenuBarViewModel")
    Q_PROPERTY(int attentionCount READ attentionCount NOTIFY attentionCountChanged)
    Q_PROPERTY(int readyCount READ readyCount NOTIFY readyCountChanged)
    Q_PROPERTY(int workingCount READ workingCount NOTIFY workingCountChanged)
    Q_PROPERTY(double attentionHoldTime READ attentionHoldTime CONSTANT)

public:
    enum Role {
        SessionIDRole = Qt::UserRole + 1,
        SectionRole, ///< "attention", "ready" or "working".
        NameRole,
        BranchRole,           ///< Empty: none.
        LinesAddedRole,       ///< 0: none.
        LinesRemovedRole,     ///< 0: none.
        LinesAddedTextRole,   ///< "+128", "+12k"; empty: none.
        LinesRemovedTextRole, ///< "-34"; empty: none.
        ContextUsedRole,      ///< Percent; -1: unknown.
        IconRole,
        IsAttentionRole,     ///< Stands in the first section.
        ShowsPermissionRole, ///< With tool line, "Deny", "Always Allow", "Allow".
        ShowsQuestionRole,   ///< With options and "View".
        ToolNameRole,
        ToolDetailRole, ///< One line.
        StatusLineRole, ///< The second line where no tool is shown; may be empty.
        ElapsedTextRole,
        OptionsRole,       ///< Labels of the answers that can be given here; empty: none.
        CanAnswerRole,     ///< Whether there are such.
        AnswerRefusalRole, ///< Why there are none, if there is a reason to tell.
        HasAlwaysAllowRole,
        AllowPressedRole,
        AccessibleTextRole,
    };
    Q_ENUM(Role)

    enum Icon { PermissionIcon, QuestionIcon, AnsweredIcon, ReadyIcon, WorkingIcon, LaunchingIcon };
    Q_ENUM(Icon)

    SessionListModel(const PanelServices &services, SessionCallbacks callbacks, QObject *parent = nullptr);
    ~SessionListModel() override;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

    [[nodiscard]] int attentionCount() const { return m_attentionCount; }
    [[nodiscard]] int readyCount() const { return m_readyCount; }
    [[nodiscard]] int workingCount() const { return m_workingCount; }
    /// In seconds.
    [[nodiscard]] double attentionHoldTime() const;

    /// While it isn't visible, a list changes with the sessions, but not with the time.
    void setVisible(bool visible);

    // An answer is given only to what the row shows: one that has been overtaken by an event is dropped.

    /// Once for each request.
    Q_INVOKABLE void allow(const QString &sessionID);
    Q_INVOKABLE void deny(const QString &sessionID);
    Q_INVOKABLE void alwaysAllow(const QString &sessionID);
    /// Takes one of the row's options, from 0.
    Q_INVOKABLE void answer(const QString &sessionID, int index);
    Q_INVOKABLE void focusTerminal(const QString &sessionID);
    Q_INVOKABLE void terminate(const QString &sessionID);

    /// "Needs Attention", "Ready", "Working".
    Q_INVOKABLE QString sectionTitle(const QString &section) const;
    Q_INVOKABLE int sectionCount(const QString &section) const;

Q_SIGNALS:
    void attentionCountChanged();
    void readyCountChanged();
    void workingCountChanged();
    /// For screen readers: a session has begun to wait. Only while visible.
    void announcement(const QString &text);

private:
    void refresh();
    [[nodiscard]] QList<SessionRowFacts> currentRows() const;
    [[nodiscard]] SessionRowFacts factsOf(const SessionPtr &session) const;
    void setCounts(const QList<SessionRowFacts> &rows);
    /// Notes which sessions wait and which have ceased to. Gives what to announce.
    QStringList followWaiting();
    /// How long the session still stays among those that need attention although it no longer does; nothing when it
    /// doesn't stay.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> holdLeft(const VantrySession &session) const;
    void scheduleRefresh();
    [[nodiscard]] SessionPtr aliveSession(const QString &sessionID) const;
    /// The session, if its request, or question, is the one that its row shows, Allow hasn't been pressed, and the
    /// press can't be the second of a double one, which would answer what has come up in the meantime.
    [[nodiscard]] SessionPtr answerableSession(const QString &sessionID) const;
    void answerPermission(const QString &sessionID, const std::function<void(const SessionPtr &)> &answer);

    void noteAnswer(const QString &sessionID);

    const PanelServices m_services;
    const SessionCallbacks m_callbacks;
    QList<SessionRowFacts> m_rows;
    QHash<QString, QString> m_allowed; ///< The request for which Allow was pressed, by session.
    QString m_lastAnswered;            ///< The session that was answered from here last, and when.
    MonotonicTime m_lastAnswerAt {};
    QSet<QString> m_waiting;                 ///< Sessions that wait for the user.
    QHash<QString, MonotonicTime> m_answers; ///< When sessions have ceased to wait, as long as it matters.
    ScheduledTimer m_refreshTimer;           ///< For the next change that comes with time alone; idle while invisible.
    bool m_isVisible { false };
    int m_attentionCount { 0 };
    int m_readyCount { 0 };
    int m_workingCount { 0 };
};

} // namespace vantry
