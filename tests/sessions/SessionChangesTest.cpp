#include "sessions/SessionChanges.h"

#include "sessions/SessionManagerFixture.h"

#include <QStringList>

#include <memory>

namespace vantry {
namespace {

using test::EventBuilder;
using Type = HookEventType;

/// Deliveries are noted as "changed a b" and "removed a b".
class SessionChangesTest : public test::SessionManagerFixture
{
protected:
    void observe()
    {
        changes = std::make_unique<SessionChanges>(manager, mainQueue);
        QObject::connect(changes.get(), &SessionChanges::changed, changes.get(),
                         [this](const QList<SessionPtr> &sessions) {
                             QString line = QStringLiteral("changed");
                             for (const SessionPtr &session : sessions)
                                 line += u' ' + session->id();
                             deliveries.append(line);
                         });
        QObject::connect(changes.get(), &SessionChanges::removed, changes.get(), [this](const QStringList &ids) {
            deliveries.append(QStringLiteral("removed ") + ids.join(u' '));
        });
    }
    /// One turn of the event loop. Gives what was delivered in it.
    QStringList turn()
    {
        mainQueue.drain();
        return std::exchange(deliveries, {});
    }
    void start(const QString &id) { handle(EventBuilder(Type::sessionStart).session(id)); }
    void remove(const QString &id)
    {
        handle(EventBuilder(Type::sessionEnd).session(id));
        clock.advance(Seconds { 301 });
        manager.cleanUpSessions();
    }

    std::unique_ptr<SessionChanges> changes;
    QStringList deliveries;
};

TEST_F(SessionChangesTest, changesOfATurnAreDeliveredOnceInTheListsOrder)
{
    observe();
    start(QStringLiteral("b"));
    start(QStringLiteral("a"));
    handle(EventBuilder(Type::stop).session(QStringLiteral("b")));

    EXPECT_TRUE(deliveries.isEmpty()) << "not before the turn ends";
    EXPECT_EQ(turn(), QStringList { QStringLiteral("changed b a") });
    EXPECT_EQ(turn(), QStringList());
}

TEST_F(SessionChangesTest, onlyWhatChangedIsDelivered)
{
    start(QStringLiteral("a"));
    start(QStringLiteral("b"));
    observe();

    session(QStringLiteral("b"))->setLastMessage(QStringLiteral("new"));

    EXPECT_EQ(turn(), QStringList { QStringLiteral("changed b") });
}

TEST_F(SessionChangesTest, sessionsThatWereThereBeforeAreKnown)
{
    start(QStringLiteral("a"));
    observe();

    EXPECT_EQ(turn(), QStringList());
    remove(QStringLiteral("a"));
    EXPECT_EQ(turn(), QStringList { QStringLiteral("removed a") });
}

TEST_F(SessionChangesTest, noticeWithoutAnyChangeIsNotDelivered)
{
    start(QStringLiteral("a"));
    observe();

    Q_EMIT manager.sessionsChanged();

    EXPECT_EQ(turn(), QStringList());
}

TEST_F(SessionChangesTest, sessionThatChangedAndLeftIsOnlyRemoved)
{
    start(QStringLiteral("a"));
    start(QStringLiteral("b"));
    observe();

    session(QStringLiteral("a"))->setLastMessage(QStringLiteral("new"));
    remove(QStringLiteral("a"));

    EXPECT_EQ(turn(), QStringList { QStringLiteral("removed a") });
}

TEST_F(SessionChangesTest, sessionThatCameAndLeftWithinATurnIsNotDelivered)
{
    observe();
    start(QStringLiteral("a"));
    remove(QStringLiteral("a"));

    EXPECT_EQ(turn(), QStringList());
}

TEST_F(SessionChangesTest, sessionThatLeftAndCameBackWithinATurnIsChanged)
{
    start(QStringLiteral("a"));
    observe();
    remove(QStringLiteral("a"));
    start(QStringLiteral("a"));

    EXPECT_EQ(turn(), QStringList { QStringLiteral("changed a") });
}

TEST_F(SessionChangesTest, newRecordOfASessionIsObservedAndItsOldOneIsNot)
{
    start(QStringLiteral("a"));
    const SessionPtr old = session(QStringLiteral("a"));
    observe();
    remove(QStringLiteral("a"));
    start(QStringLiteral("a"));
    turn();

    old->setLastMessage(QStringLiteral("old"));
    EXPECT_EQ(turn(), QStringList());
    session(QStringLiteral("a"))->setLastMessage(QStringLiteral("new"));
    EXPECT_EQ(turn(), QStringList { QStringLiteral("changed a") });
}

TEST_F(SessionChangesTest, touchedSessionIsChanged)
{
    start(QStringLiteral("a"));
    observe();

    changes->touch(QStringLiteral("a"));
    changes->touch(QStringLiteral("unknown"));

    EXPECT_EQ(turn(), QStringList { QStringLiteral("changed a") });
}

TEST_F(SessionChangesTest, removalIsDeliveredBeforeChange)
{
    start(QStringLiteral("a"));
    observe();
    remove(QStringLiteral("a"));
    start(QStringLiteral("b"));

    EXPECT_EQ(turn(), (QStringList { QStringLiteral("removed a"), QStringLiteral("changed b") }));
}

TEST_F(SessionChangesTest, changeMadeByAnObserverComesWithTheNextTurn)
{
    start(QStringLiteral("a"));
    observe();
    QObject::connect(changes.get(), &SessionChanges::changed, changes.get(), [this](const QList<SessionPtr> &sessions) {
        sessions.first()->setLastMessage(QStringLiteral("seen"));
    });
    session(QStringLiteral("a"))->setLastMessage(QStringLiteral("new"));

    EXPECT_EQ(turn(), QStringList { QStringLiteral("changed a") });
    EXPECT_EQ(turn(), QStringList { QStringLiteral("changed a") });
    EXPECT_EQ(turn(), QStringList());
}

TEST_F(SessionChangesTest, observerMayGoBeforeTheTurnEnds)
{
    observe();
    start(QStringLiteral("a"));
    changes.reset();

    EXPECT_EQ(turn(), QStringList());
}

} // namespace
} // namespace vantry
