#pragma once

#include "base/MainQueue.h"
#include "sessions/VantrySession.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QStringList>

namespace vantry {

class SessionManager;

/// What views observe: the changes of the session list and of every record in it, folded to one delivery per turn of
/// the event loop. What was in the list when this was made counts as known. Main thread only.
class SessionChanges final : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this.
    SessionChanges(SessionManager &manager, MainQueue &mainQueue, QObject *parent = nullptr);
    ~SessionChanges() override;

    /// Counts the session as changed, for what is shown of it and stands elsewhere (its held requests).
    void touch(const QString &sessionID);

Q_SIGNALS:
    /// Identifiers that left the list since the last delivery. Comes before changed().
    void removed(const QStringList &sessionIDs);
    /// Sessions that came or changed since the last delivery, in the list's order.
    void changed(const QList<vantry::SessionPtr> &sessions);

private:
    /// Keeps what is observed equal to the list.
    void observeList();
    void schedule();
    void deliver();

    SessionManager &m_manager;
    MainQueue &m_mainQueue;
    QList<SessionPtr> m_observed;
    QStringList m_known;     ///< What was in the list at the last delivery.
    QSet<QString> m_changed; ///< Since then.
    bool m_scheduled { false };
};

} // namespace vantry
