#include "platform/PrivateBus.h"
#include "platform/linux/DBusControlClient.h"
#include "platform/linux/DBusControlEndpoint.h"

#include <QCoreApplication>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <future>
#include <thread>
#include <utility>

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
    void allow(const QString &id, Reply reply) override { record(u"allow "_s + id, std::move(reply)); }
    void deny(const QString &id, bool stop, Reply reply) override
    {
        record((stop ? u"deny and stop "_s : u"deny "_s) + id, std::move(reply));
    }
    void alwaysAllow(const QString &id, Reply reply) override { record(u"always allow "_s + id, std::move(reply)); }
    void answer(const QString &id, int index, Reply reply) override
    {
        record(u"answer %1 %2"_s.arg(id).arg(index), std::move(reply));
    }
    void send(const QString &id, const QString &text, Reply reply) override
    {
        record(u"send %1 %2"_s.arg(id, text), std::move(reply));
    }
    void focus(const QString &id, Reply reply) override { record(u"focus "_s + id, std::move(reply)); }
    void kill(const QString &id, Reply reply) override { record(u"kill "_s + id, std::move(reply)); }
    void launch(const QString &path, const QString &mode, const QString &id, const QString &permissionMode,
                Reply reply) override
    {
        record(u"launch %1 %2 %3 %4"_s.arg(path, mode, id, permissionMode), std::move(reply));
    }
    bool showPanel() override
    {
        calls.append(u"show"_s);
        return hasWindows;
    }
    bool showSettings() override
    {
        calls.append(u"settings"_s);
        return hasWindows;
    }
    void quit() override { calls.append(u"quit"_s); }

    bool listening { true };
    QString document { u"{}"_s };
    ControlOutcome outcome;
    bool repliesAtOnce { true };
    QList<Reply> waiting; ///< What has not been replied to.
    bool hasWindows { true };
    QStringList calls;

private:
    void record(const QString &call, Reply reply)
    {
        calls.append(call);
        if (repliesAtOnce)
            reply(outcome);
        else
            waiting.append(std::move(reply));
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
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.answer(u"f"_s, 2); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.send(u"g"_s, u"-a \"ä\"\n; 😀"_s); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.focus(u"h"_s); }));
    EXPECT_FALSE(
        fromElsewhere([](auto &client) { return client.launch(u"/tmp/a b"_s, u"resume"_s, u"i"_s, u"planMode"_s); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.activate(); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.quit(); }));

    EXPECT_EQ(requests.calls, (QStringList { u"allow a"_s, u"deny b"_s, u"deny and stop c"_s, u"always allow d"_s,
                                             u"kill e"_s, u"answer f 2"_s, u"send g -a \"ä\"\n; 😀"_s, u"focus h"_s,
                                             u"launch /tmp/a b resume i planMode"_s, u"show"_s, u"quit"_s }));
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

TEST_F(DBusControl, repliesWhenTheOutcomeComes)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    requests.repliesAtOnce = false;

    const auto failure = [&] {
        auto result = std::async(std::launch::async, [&] {
            DBusControlClient client(bus.address());
            return client.send(u"a"_s, u"b"_s);
        });
        EXPECT_TRUE(eventually([&] { return requests.waiting.size() == 1; }));
        // Others are served while one waits.
        EXPECT_TRUE(std::holds_alternative<QString>(fromElsewhere([](auto &client) { return client.list(); })));
        requests.waiting.first()({ ControlOutcome::Kind::NotPossible, u"the pane is gone"_s });
        requests.waiting.first()({}); // A second reply is one too many.
        return result.get();
    }();

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::NotPossible);
    EXPECT_EQ(failure->reason, u"the pane is gone");
}

TEST_F(DBusControl, tellsWhoStillWaitsThatItEnds)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    requests.repliesAtOnce = false;
    auto result = std::async(std::launch::async, [&] {
        DBusControlClient client(bus.address());
        return client.focus(u"a"_s);
    });
    ASSERT_TRUE(eventually([&] { return requests.waiting.size() == 1; }));

    endpoint.withdraw();

    const auto failure = result.get();
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::Unanswered);
    EXPECT_TRUE(failure->reason.contains(u"ended before")) << failure->reason.toStdString();
    requests.waiting.first()({}); // A reply that comes later goes nowhere.
}

TEST_F(DBusControl, outlivesACallerThatDoesNotWait)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);
    requests.repliesAtOnce = false;
    {
        BusConnection caller(bus.address());
        auto message =
            QDBusMessage::createMethodCall(QString::fromLatin1(bus::serviceName), QString::fromLatin1(bus::objectPath),
                                           QString::fromLatin1(bus::sessionsInterface), u"Focus"_s);
        message.setArguments({ u"a"_s });
        caller->asyncCall(message);
        ASSERT_TRUE(eventually([&] { return requests.waiting.size() == 1; }));
    }

    requests.waiting.first()({});

    requests.repliesAtOnce = true;
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.focus(u"b"_s); }));
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
           rawCall(sessions, u"Answer"_s, { u"a"_s, u"1"_s }), rawCall(sessions, u"Answer"_s, { u"a"_s, 1.5 }),
           rawCall(sessions, u"Send"_s, { u"a"_s }), rawCall(sessions, u"Launch"_s, { u"/tmp"_s }),
           rawCall(application, u"ActivateAction"_s, { u"quit"_s }),
           rawCall(application, u"ActivateAction"_s, { u"nonsense"_s, QVariantList {}, QVariantMap {} }) })
        EXPECT_EQ(reply.type(), QDBusMessage::ErrorMessage);

    EXPECT_TRUE(requests.calls.isEmpty());
}

TEST_F(DBusControl, showsWindowsWhenAskedTo)
{
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.activate(); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.showPanel(); }));
    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.showSettings(); }));

    EXPECT_EQ(requests.calls, (QStringList { u"show"_s, u"show"_s, u"settings"_s }));
}

TEST_F(DBusControl, saysThatThereAreNoWindowsToShow)
{
    requests.hasWindows = false;
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    EXPECT_FALSE(fromElsewhere([](auto &client) { return client.activate(); }));
    const auto panel = fromElsewhere([](auto &client) { return client.showPanel(); });
    const auto settings = fromElsewhere([](auto &client) { return client.showSettings(); });

    EXPECT_EQ(panel->kind, Kind::NotPossible);
    EXPECT_EQ(settings->kind, Kind::NotPossible);
    EXPECT_EQ(settings->reason, u"the running Vantry has no windows"_s);
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
                    .onBackfill = [&](std::uint32_t done,
                                      std::uint32_t total) { told.append(u"read %1 of %2"_s.arg(done).arg(total)); },
                    .onGone = [&] { told.append(u"gone"_s); } });
    // Once this is answered, by the bus, the subscription made before it holds.
    ASSERT_TRUE(std::holds_alternative<ControlFailure>(client.list()));
    ASSERT_EQ(endpoint.publish(requests), Publication::Published);

    endpoint.announceChanged(u"{}"_s);
    endpoint.announceRemoved(u"a"_s);
    endpoint.announceListening(false);
    endpoint.announceListening(true);
    endpoint.announceBackfill(3, 4'294'967'295);
    EXPECT_TRUE(eventually([&] { return told.size() == 5; }));
    endpoint.withdraw();
    EXPECT_TRUE(eventually([&] { return told.size() == 6; }));

    EXPECT_EQ(told, (QStringList { u"changed {}"_s, u"removed a"_s, u"deaf"_s, u"listening"_s,
                                   u"read 3 of 4294967295"_s, u"gone"_s }));
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
    endpoint.announceBackfill(0, 1);

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
