#pragma once

#include "base/MainQueue.h"
#include "sessions/VantrySession.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

#include <memory>

namespace vantry {

class SessionManager;

/// What views observe: the changes of the session list and of every record in it, folded to one delivery per turn of
/// the event loop. Main thread only.
class SessionChanges final : public QObject
{
    Q_OBJECT

public:
    SessionChanges(SessionManager &manager, MainQueue &mainQueue, QObject *parent = nullptr);
    ~SessionChanges() override;

    /// Counts the session as changed, for what is shown of it and stands elsewhere (its held requests).
    void touch(const QString &sessionID);

Q_SIGNALS:
    /// Sessions that came or changed since the last delivery, in the list's order.
    void changed(const QList<vantry::SessionPtr> &sessions);
    /// Identifiers that left the list since the last delivery.
    void removed(const QStringList &sessionIDs);

private:
    void observeList();
    void schedule();
    void deliver();

    SessionManager &m_manager;
    MainQueue &m_mainQueue;
    QHash<QString, QMetaObject::Connection> m_observed;
    QSet<QString> m_changed;
    QStringList m_removed;
    bool m_scheduled { false };
    std::shared_ptr<bool> m_alive;
};

} // namespace vantry
