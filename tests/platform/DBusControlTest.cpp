#include "platform/PrivateBus.h"
#include "platform/linux/DBusControlClient.h"
#include "platform/linux/DBusControlEndpoint.h"

#include <QCoreApplication>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <future>
#include <thread>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using Kind = ControlFailure::Kind;
using Publication = ControlEndpoint::Publication;
using test::PrivateBus;
using ::testing::ElementsAre;

/// Records what is asked for, and answers what a test has set.
class RecordingRequests final : public ControlRequests
{
public:
    [[nodiscard]] bool isListening() const override { return listening; }
    [[nodiscard]] QString list() const override { return document; }
    ControlOutcome allow(const QString &id) override { return record(u"allow "_s + id); }
    ControlOutcome deny(const QString &id, bool stop) override
    {
        return record((stop ? u"deny and stop "_s : u"deny "_s) + id);
    }
    ControlOutcome alwaysAllow(const QString &id) override { return record(u"always allow "_s + id); }
    ControlOutcome kill(const QString &id) override { return record(u"kill "_s + id); }
    void quit() override { calls.append(u"quit"_s); }

    bool listening { true };
    QString document { u"{}"_s };
    ControlOutcome outcome;
    QStringList calls;

private:
    ControlOutcome record(const QString &call)
    {
        calls.append(call);
        return outcome;
    }
};

/// Runs the event loop until the condition holds; false when it does not in time.
template <typename Condition>
bool eventually(Condition condition)
{
    const QDeadlineTimer deadline(std::chrono::seconds(30));
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

class DBusControl : public ::testing::Test
{
protected:
    /// Calls block their thread, so a call to this very process comes from another one.
    template <typename Call>
    auto fromElsewhere(Call call)
    {
        auto result = std::async(std::launch::async, [&] {
            DBusControlClient client(bus.address());
            return call(client);
        });
        EXPECT_TRUE(eventually([&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return result.get();
    }
    /// The reply to a call that any program could make.
    QDBusMessage rawCall(const QString &interface, const QString &method, const QVariantList &arguments)
    {
        return fromElsewhere([&](DBusControlClient &) {
            BusConnection connection(bus.address());
            auto message = QDBusMessage::createMethodCall(QString::fromLatin1(bus::serviceName),
                                                          QString::fromLatin1(bus::objectPath), interface, method);
            message.setArguments(arguments);
            return connection->call(message);
        });
    }

    PrivateBus bus;
    RecordingRequests requests;
    DBusControlEndpoint endpoint { bus.address() };
};

TEST_F(DBusControl, passesEachCallOn)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.allow(u"a"_s); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.deny(u"b"_s, false); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.deny(u"c"_s, true); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.alwaysAllow(u"d"_s); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.kill(u"e"_s); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.activate(); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.quit(); }));

    EXPECT_EQ(requests.calls, (QStringList { u"allow a"_s, u"deny b"_s, u"deny and stop c"_s, u"always allow d"_s,
                                             u"kill e"_s, u"quit"_s }));
}

TEST_F(DBusControl, givesTheDocument)
{
    requests.document = u"{\"text\":\"ä€😀\"}"_s;
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    const auto reply = fromElsewhere([](auto &client) { return client.list(); });

    EXPECT_EQ(std::get<QString>(reply), requests.document);
}

TEST_F(DBusControl, tellsWhyACallWasRefused)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    requests.outcome = { ControlOutcome::Kind::NotPossible, u"not now"_s };
    const auto notPossible = fromElsewhere([](auto &client) { return client.allow(u"a"_s); });
    requests.outcome = { ControlOutcome::Kind::NoSuchSession, u"not here"_s };
    const auto noSuchSession = fromElsewhere([](auto &client) { return client.kill(u"a"_s); });

    ASSERT_TRUE(notPossible && noSuchSession);
    EXPECT_EQ(notPossible->kind, Kind::NotPossible);
    EXPECT_EQ(notPossible->reason, u"not now");
    EXPECT_EQ(noSuchSession->kind, Kind::NoSuchSession);
    EXPECT_EQ(noSuchSession->reason, u"not here");
}

TEST_F(DBusControl, namesItsErrorsAsPromised)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    const QString sessions = QString::fromLatin1(bus::sessionsInterface);

    requests.outcome = { ControlOutcome::Kind::NotPossible, u"not now"_s };
    EXPECT_EQ(rawCall(sessions, u"Allow"_s, { u"a"_s }).errorName(), u"com.vantry.Error.NotPossible");
    requests.outcome = { ControlOutcome::Kind::NoSuchSession, u"not here"_s };
    EXPECT_EQ(rawCall(sessions, u"Deny"_s, { u"a"_s, true }).errorName(), u"com.vantry.Error.NoSuchSession");
}

TEST_F(DBusControl, refusesCallsOfAnotherForm)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    const QString sessions = QString::fromLatin1(bus::sessionsInterface);
    const QString application = QString::fromLatin1(bus::applicationInterface);

    for (const QDBusMessage &reply :
         { rawCall(sessions, u"Allow"_s, {}), rawCall(sessions, u"Allow"_s, { 5 }),
           rawCall(sessions, u"Allow"_s, { u"a"_s, u"b"_s }), rawCall(sessions, u"Deny"_s, { u"a"_s, u"yes"_s }),
           rawCall(sessions, u"Kill"_s, { QStringList { u"a"_s } }), rawCall(sessions, u"Nonsense"_s, {}),
           rawCall(application, u"ActivateAction"_s, { u"quit"_s }),
           rawCall(application, u"ActivateAction"_s, { u"nonsense"_s, QVariantList {}, QVariantMap {} }) })
        EXPECT_EQ(reply.type(), QDBusMessage::ErrorMessage);

    EXPECT_TRUE(requests.calls.isEmpty());
}

TEST_F(DBusControl, takesAHugeIdentifier)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    const QString huge(5'000'000, u'x');

    EXPECT_FALSE(fromElsewhere([&](auto &client) { return client.allow(huge); }));

    EXPECT_EQ(requests.calls.value(0).size(), 6 + huge.size());
}

TEST_F(DBusControl, staysOnTheBusWhenTheDocumentIsTooLong)
{
    requests.document = QString(DBusControlEndpoint::maximumTextLength + 1, u'x');
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    const auto tooLong = fromElsewhere([](auto &client) { return client.list(); });
    requests.document = u"{}"_s;
    const auto usual = fromElsewhere([](auto &client) { return client.list(); });

    EXPECT_EQ(std::get<ControlFailure>(tooLong).kind, Kind::Unanswered);
    EXPECT_EQ(std::get<QString>(usual), u"{}");
}

TEST_F(DBusControl, hasTheListenersStateAsAProperty)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    const QVariantList property { QString::fromLatin1(bus::sessionsInterface), u"Listening"_s };
    const QString properties = QString::fromLatin1(bus::propertiesInterface);

    EXPECT_EQ(rawCall(properties, u"Get"_s, property).arguments().value(0).value<QDBusVariant>().variant(), true);
    requests.listening = false;
    EXPECT_EQ(rawCall(properties, u"Get"_s, property).arguments().value(0).value<QDBusVariant>().variant(), false);
    EXPECT_EQ(rawCall(properties, u"Set"_s, property + QVariantList { QVariant::fromValue(QDBusVariant(true)) }).type(),
              QDBusMessage::ErrorMessage);
}

TEST_F(DBusControl, tellsFollowersWhatHappensInItsOrder)
{
    DBusControlClient client(bus.address());
    QStringList told;
    client.follow({ .onChanged = [&](const QString &session) { told.append(u"changed "_s + session); },
                    .onRemoved = [&](const QString &id) { told.append(u"removed "_s + id); },
                    .onListening = [&](bool listening) { told.append(listening ? u"listening"_s : u"deaf"_s); },
                    .onGone = [&] { told.append(u"gone"_s); } });
    // Once this is answered, by the bus, the subscription made before it holds.
    ASSERT_TRUE(std::holds_alternative<ControlFailure>(client.list()));
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    endpoint.announceChanged(u"{}"_s);
    endpoint.announceRemoved(u"a"_s);
    endpoint.announceListening(false);
    endpoint.announceListening(true);
    EXPECT_TRUE(eventually([&] { return told.size() == 4; }));
    endpoint.withdraw();
    EXPECT_TRUE(eventually([&] { return told.size() == 5; }));

    EXPECT_EQ(told, (QStringList { u"changed {}"_s, u"removed a"_s, u"deaf"_s, u"listening"_s, u"gone"_s }));
}

TEST_F(DBusControl, letsOneInstanceHaveTheName)
{
    DBusControlEndpoint second(bus.address());
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    EXPECT_EQ(second.publish(requests), Publication::NameTaken);
    endpoint.withdraw();
    EXPECT_EQ(second.publish(requests), Publication::Published);
}

TEST_F(DBusControl, announcesNothingWhileNotPublished)
{
    endpoint.announceChanged(u"{}"_s);
    endpoint.announceRemoved(u"a"_s);
    endpoint.announceListening(true);

    EXPECT_EQ(endpoint.publish(requests), Publication::Published);
}

TEST_F(DBusControl, saysThatNobodyRuns)
{
    DBusControlClient client(bus.address());

    EXPECT_TRUE(client.isConnected());
    EXPECT_EQ(std::get<ControlFailure>(client.list()).kind, Kind::NotRunning);
    EXPECT_EQ(client.quit()->kind, Kind::NotRunning);
}

TEST_F(DBusControl, outlivesItsBus)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    DBusControlClient client(bus.address());
    int gone = 0;
    client.follow({ .onGone = [&] { ++gone; } });

    bus.stop();

    EXPECT_TRUE(eventually([&] { return gone > 0; }));
    endpoint.announceChanged(u"{}"_s);
    EXPECT_EQ(std::get<ControlFailure>(client.list()).kind, Kind::NotRunning);
}

TEST(DBusControlWithoutABus, isUnavailable)
{
    RecordingRequests requests;

    for (const QString &address : { u""_s, u"unix:path=/nonexistent"_s, u"nonsense"_s }) {
        EXPECT_EQ(DBusControlEndpoint(address).publish(requests), Publication::Unavailable);
        DBusControlClient client(address);
        EXPECT_FALSE(client.isConnected());
        EXPECT_EQ(std::get<ControlFailure>(client.list()).kind, Kind::NotRunning);
        client.follow({});
    }
}

class SessionBusAddress : public ::testing::Test
{
protected:
    void TearDown() override
    {
        for (const char *name : { "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR" })
            qunsetenv(name);
    }

    QTemporaryDir folder;
};

TEST_F(SessionBusAddress, isTheEnvironmentsElseTheRuntimeFoldersElseNone)
{
    qputenv("XDG_RUNTIME_DIR", folder.path().toUtf8());
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_EQ(sessionBusAddress(), u"");

    QFile socket(folder.filePath(u"bus"_s));
    ASSERT_TRUE(socket.open(QFile::WriteOnly));
    EXPECT_EQ(sessionBusAddress(), u"unix:path="_s + socket.fileName());

    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/elsewhere");
    EXPECT_EQ(sessionBusAddress(), u"unix:path=/elsewhere");
}

} // namespace
} // namespace vantry
