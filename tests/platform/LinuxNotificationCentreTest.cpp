#include "platform/linux/LinuxNotificationCentre.h"

#include "FakeNotificationServer.h"
#include "PrivateBus.h"
#include "support/WaitFor.h"

#include <QCoreApplication>
#include <QDBusArgument>

#include <gmock/gmock.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace vantry::test {
namespace {

using Presence = NotificationCentre::Server::Presence;
using Urgency = NotificationCentre::Urgency;

class LinuxNotificationCentreTest : public testing::Test, private NotificationCentre::Delegate
{
protected:
    void open(const QString &address)
    {
        centre.emplace(address);
        centre->setDelegate(this);
        centre->setCategories({ { u"ASK"_s, { { u"ALLOW"_s, u"Allow"_s }, { u"DENY"_s, u"Deny"_s } } } });
    }
    void open() { open(m_bus.address()); }
    static NotificationCentre::Request request(const QString &identifier = u"n1"_s, const QString &body = u"Body"_s)
    {
        return { identifier, u"Title"_s, body, u"ASK"_s, { { u"session_id"_s, u"s"_s } } };
    }
    void add(const NotificationCentre::Request &request)
    {
        centre->add(request, [this](const QString &error) { failures.append(error); });
    }
    /// Shows a notification and waits until its number is known here, too.
    uint show(FakeNotificationServer &server, const NotificationCentre::Request &request)
    {
        const auto before = server.shown.size();
        add(request);
        EXPECT_TRUE(waitFor([&] { return server.shown.size() > before; }));
        settle(server);
        return server.shown.last().id;
    }
    /// Waits until all that was sent up to now has arrived, on both sides.
    void settle(FakeNotificationServer &server)
    {
        const auto closed = server.closed.size();
        BusConnection other(m_bus.address());
        auto message = notificationCall("CloseNotification");
        message << 0U;
        EXPECT_TRUE(other->send(message));
        EXPECT_TRUE(waitFor([&] { return server.closed.size() > closed; }));
        server.closed.removeAll(0U);
        QCoreApplication::processEvents();
    }
    std::function<bool()> responded(qsizetype count)
    {
        return [this, count] { return responses.size() == count; };
    }

    NotificationCentre::Presentation willPresent(const NotificationCentre::Request & /*request*/) override
    {
        return presentation;
    }
    void didReceive(const NotificationCentre::Response &response) override { responses.append(response); }
    void didClose(const QString &identifier) override { gone.append(identifier); }

    PrivateBus m_bus;
    NotificationCentre::Presentation presentation { NotificationCentre::Presentation::BannerAndSound };
    QList<NotificationCentre::Response> responses;
    QStringList gone;
    QStringList failures;
    std::optional<LinuxNotificationCentre> centre;
};

TEST_F(LinuxNotificationCentreTest, showsANotificationWithAllThatAServerWantsToKnow)
{
    FakeNotificationServer server(m_bus.address(), { u"actions"_s, u"body"_s });
    open();
    auto wanted = request();
    wanted.urgency = Urgency::Critical;
    wanted.isSilent = true;
    show(server, wanted);

    EXPECT_EQ(server.signature, u"susssasa{sv}i"_s);
    const auto &shown = server.shown.constFirst();
    EXPECT_EQ(shown.applicationName, u"Vantry"_s);
    EXPECT_EQ(shown.replaces, 0U);
    EXPECT_EQ(shown.summary, u"Title"_s);
    EXPECT_EQ(shown.body, u"Body"_s);
    EXPECT_EQ(shown.actions, (QStringList { u"default"_s, u"Open"_s, u"ALLOW"_s, u"Allow"_s, u"DENY"_s, u"Deny"_s }));
    EXPECT_EQ(shown.hints.value(u"urgency"_s), QVariant::fromValue(uchar { 2 }));
    EXPECT_EQ(shown.hints.value(u"desktop-entry"_s), u"com.vantry.app"_s);
    EXPECT_EQ(shown.hints.value(u"suppress-sound"_s), true);
    EXPECT_EQ(shown.timeout, -1);
    EXPECT_EQ(centre->server().presence, Presence::Present);
    EXPECT_EQ(centre->server().capabilities, server.capabilities);
}

TEST_F(LinuxNotificationCentreTest, eachUrgencyHasItsByteAndSoundIsLeftToTheServer)
{
    FakeNotificationServer server(m_bus.address(), {});
    open();
    auto wanted = request();
    uchar byte = 0;
    for (const Urgency urgency : { Urgency::Low, Urgency::Normal, Urgency::Critical }) {
        wanted.urgency = urgency;
        show(server, wanted);
        EXPECT_EQ(server.shown.last().hints.value(u"urgency"_s), QVariant::fromValue(byte++));
        EXPECT_FALSE(server.shown.last().hints.contains(u"suppress-sound"_s));
    }
}

TEST_F(LinuxNotificationCentreTest, withoutActionsTheTextAloneIsShown)
{
    FakeNotificationServer server(m_bus.address(), { u"body"_s });
    open();
    show(server, request());
    EXPECT_TRUE(server.shown.constFirst().actions.isEmpty());
    EXPECT_EQ(server.shown.constFirst().body, u"Body"_s);
}

TEST_F(LinuxNotificationCentreTest, escapesTheBodyOnlyWhereMarkupIsRendered)
{
    FakeNotificationServer server(m_bus.address(), { u"body-markup"_s });
    open();
    show(server, request(u"1"_s, u"a < b && <b>c</b>"_s));
    EXPECT_EQ(server.shown.last().body, u"a &lt; b &amp;&amp; &lt;b&gt;c&lt;/b&gt;"_s);
    server.vanish();
    server.capabilities.clear();
    server.appear();
    ASSERT_TRUE(waitFor([&] { return centre->server() == NotificationCentre::Server { Presence::Present, {} }; }));
    show(server, request(u"2"_s, u"a < b && <b>c</b>"_s));
    EXPECT_EQ(server.shown.last().body, u"a < b && <b>c</b>"_s);
}

TEST_F(LinuxNotificationCentreTest, reportsAButtonWithItsTokenAndTakesTheNotificationAway)
{
    FakeNotificationServer server(m_bus.address(), { u"actions"_s });
    open();
    const uint id = show(server, request());
    server.giveToken(id, u"leave-7"_s);
    server.press(id, u"ALLOW"_s);
    ASSERT_TRUE(waitFor(responded(1)));
    const auto &response = responses.constFirst();
    EXPECT_EQ(response.identifier, u"n1"_s);
    EXPECT_EQ(response.actionIdentifier, u"ALLOW"_s);
    EXPECT_EQ(response.userInfo, (QVariantMap { { u"session_id"_s, u"s"_s } }));
    EXPECT_EQ(response.activationToken, u"leave-7"_s);
    ASSERT_TRUE(waitFor([&] { return server.closed == QList<uint> { id }; }));

    server.press(id, u"ALLOW"_s);
    server.dismiss(id);
    settle(server);
    EXPECT_EQ(responses.size(), 1) << "one answer for one notification";
    EXPECT_TRUE(gone.isEmpty());
}

TEST_F(LinuxNotificationCentreTest, ignoresNumbersThatItDoesNotKnow)
{
    FakeNotificationServer server(m_bus.address(), { u"actions"_s });
    open();
    const uint id = show(server, request());
    server.giveToken(id + 1, u"leave"_s);
    server.press(id + 1, u"ALLOW"_s);
    server.dismiss(0);
    server.press(id, u"default"_s);
    ASSERT_TRUE(waitFor(responded(1)));
    EXPECT_EQ(responses.constFirst().actionIdentifier, u"default"_s);
    EXPECT_TRUE(responses.constFirst().activationToken.isEmpty());
}

TEST_F(LinuxNotificationCentreTest, ignoresSignalsOfOthersThanTheServer)
{
    FakeNotificationServer server(m_bus.address(), { u"actions"_s });
    open();
    const uint id = show(server, request());
    BusConnection stranger(m_bus.address());
    auto signal = QDBusMessage::createSignal(QString::fromLatin1(notificationPath),
                                             QString::fromLatin1(notificationInterface), u"ActionInvoked"_s);
    signal << id << u"ALLOW"_s;
    ASSERT_TRUE(stranger->send(signal));
    settle(server);
    server.press(id, u"DENY"_s);
    ASSERT_TRUE(waitFor(responded(1)));
    EXPECT_EQ(responses.constFirst().actionIdentifier, u"DENY"_s);
}

TEST_F(LinuxNotificationCentreTest, tellsThatTheUserDismissedOne)
{
    FakeNotificationServer server(m_bus.address(), { u"actions"_s });
    open();
    server.dismiss(show(server, request()));
    ASSERT_TRUE(waitFor([&] { return gone == QStringList { u"n1"_s }; }));
    EXPECT_TRUE(responses.isEmpty());
}

TEST_F(LinuxNotificationCentreTest, takesOneAwayOnce)
{
    FakeNotificationServer server(m_bus.address(), { u"actions"_s });
    open();
    const uint id = show(server, request());
    centre->remove(u"other"_s);
    centre->remove(u"n1"_s);
    centre->remove(u"n1"_s);
    settle(server);
    EXPECT_EQ(server.closed, QList<uint> { id });
    server.press(id, u"ALLOW"_s);
    settle(server);
    EXPECT_TRUE(responses.isEmpty()) << "a click that came too late answers nothing";
}

TEST_F(LinuxNotificationCentreTest, takesOneAwayThatIsOnItsWay)
{
    FakeNotificationServer server(m_bus.address(), {});
    open();
    show(server, request(u"first"_s));
    server.isSilent = true;
    const int before = server.asked;
    add(request(u"late"_s));
    ASSERT_TRUE(waitFor([&] { return server.asked > before; }));
    centre->remove(u"late"_s);
    server.answerLate();
    ASSERT_TRUE(waitFor([&] { return server.closed == QList<uint> { 2 }; }));
}

TEST_F(LinuxNotificationCentreTest, oneThatIsTakenAwayBeforeTheServerIsKnownIsNotSent)
{
    FakeNotificationServer server(m_bus.address());
    server.isSilent = true;
    server.appear();
    open();
    add(request(u"1"_s));
    add(request(u"2"_s));
    centre->remove(u"1"_s);
    ASSERT_TRUE(waitFor([&] { return server.asked == 1; }));
    server.answerLate();
    ASSERT_TRUE(waitFor([&] { return server.shown.size() == 1; }));
    settle(server);
    EXPECT_EQ(server.asked, 2) << "what the server can is asked once";
    EXPECT_TRUE(server.closed.isEmpty());
}

TEST_F(LinuxNotificationCentreTest, whatIsNotToBePresentedByThenIsDropped)
{
    FakeNotificationServer server(m_bus.address(), {});
    open();
    add(request());
    presentation = NotificationCentre::Presentation::Nothing;
    ASSERT_TRUE(waitFor([&] { return gone == QStringList { u"n1"_s }; }));
    EXPECT_TRUE(server.shown.isEmpty());
    EXPECT_TRUE(failures.isEmpty());
}

TEST_F(LinuxNotificationCentreTest, takesAwayWhatIsShownAtItsEnd)
{
    FakeNotificationServer server(m_bus.address(), {});
    open();
    const uint id = show(server, request());
    centre.reset();
    EXPECT_TRUE(waitFor([&] { return server.closed == QList<uint> { id }; }));
}

// Servers that fail

TEST_F(LinuxNotificationCentreTest, withoutABusEverythingFailsLater)
{
    open({});
    std::optional<QString> reason;
    centre->requestAuthorization([&](bool isGranted, const std::optional<QString> &error) {
        EXPECT_FALSE(isGranted);
        reason = error;
    });
    add(request());
    EXPECT_TRUE(failures.isEmpty());
    ASSERT_TRUE(waitFor([&] { return reason.has_value() && failures.size() == 1; }));
    EXPECT_EQ(*reason, u"there is no session bus"_s);
    EXPECT_EQ(failures.constFirst(), u"there is no session bus"_s);
}

TEST_F(LinuxNotificationCentreTest, withoutAServerEverythingFailsUntilThereIsOne)
{
    open();
    int answers = 0;
    centre->requestAuthorization([&](bool isGranted, const std::optional<QString> &error) {
        EXPECT_FALSE(isGranted);
        EXPECT_TRUE(error);
        ++answers;
    });
    ASSERT_TRUE(waitFor([&] { return answers == 1; }));
    EXPECT_EQ(centre->server().presence, Presence::Absent);
    add(request(u"1"_s));
    ASSERT_TRUE(waitFor([&] { return failures.size() == 1; }));

    FakeNotificationServer server(m_bus.address(), {});
    ASSERT_TRUE(waitFor([&] { return centre->server().presence == Presence::Present; }));
    show(server, request(u"2"_s));
    EXPECT_EQ(server.shown.size(), 1) << "what has failed is not tried again";
    EXPECT_EQ(failures.size(), 1);
    EXPECT_EQ(answers, 1);
}

TEST_F(LinuxNotificationCentreTest, grantsWhereThereIsAServer)
{
    FakeNotificationServer server(m_bus.address(), {});
    open();
    bool granted = false;
    centre->requestAuthorization(
        [&](bool isGranted, const std::optional<QString> &error) { granted = isGranted && !error; });
    EXPECT_TRUE(waitFor([&] { return granted; }));
}

TEST_F(LinuxNotificationCentreTest, tellsWhenAServerComesOrGoes)
{
    open();
    QList<Presence> told;
    QList<NotificationCentre::Status> known;
    centre->onServerChanged = [&] { told.append(centre->server().presence); };
    centre->requestStatus([&](const NotificationCentre::Status &status) { known.append(status); });
    ASSERT_TRUE(waitFor([&] { return known.size() == 1; }));
    EXPECT_EQ(known.constFirst().authorization, NotificationCentre::Authorization::Authorized);
    EXPECT_EQ(known.constFirst().server.presence, Presence::Absent);
    EXPECT_EQ(told, QList { Presence::Absent });

    FakeNotificationServer server(m_bus.address(), { u"actions"_s });
    ASSERT_TRUE(waitFor([&] { return told.size() == 2; }));
    EXPECT_EQ(told.last(), Presence::Present);
    centre->requestStatus([&](const NotificationCentre::Status &status) { known.append(status); });
    ASSERT_TRUE(waitFor([&] { return known.size() == 2; }));
    EXPECT_EQ(known.last().server.capabilities, QStringList { u"actions"_s });
    EXPECT_EQ(told.size(), 2) << "nothing new";

    server.vanish();
    ASSERT_TRUE(waitFor([&] { return told.size() == 3; }));
    EXPECT_EQ(told.last(), Presence::Absent);
}

TEST_F(LinuxNotificationCentreTest, aServerThatIsStartedAgainShowsTheNextOnes)
{
    FakeNotificationServer server(m_bus.address(), { u"actions"_s });
    open();
    const uint old = show(server, request(u"1"_s));
    server.vanish();
    ASSERT_TRUE(waitFor([&] { return gone == QStringList { u"1"_s }; }));
    EXPECT_TRUE(failures.isEmpty());

    server.appear();
    ASSERT_TRUE(waitFor([&] { return centre->server().presence == Presence::Present; }));
    const uint id = show(server, request(u"2"_s));
    server.press(old, u"ALLOW"_s);
    server.press(id, u"DENY"_s);
    ASSERT_TRUE(waitFor(responded(1)));
    EXPECT_EQ(responses.constFirst().identifier, u"2"_s) << "the old server's numbers mean nothing";
}

TEST_F(LinuxNotificationCentreTest, aServerThatEndsWhileItIsAskedFailsWhatWaits)
{
    FakeNotificationServer server(m_bus.address());
    server.isSilent = true;
    server.appear();
    open();
    add(request());
    ASSERT_TRUE(waitFor([&] { return server.asked == 1; }));
    server.vanish();
    ASSERT_TRUE(waitFor([&] { return failures.size() == 1; }));
    EXPECT_TRUE(gone.isEmpty());
}

TEST_F(LinuxNotificationCentreTest, aServerThatEndsWhileItShowsOneFailsThatOne)
{
    FakeNotificationServer server(m_bus.address(), {});
    open();
    show(server, request(u"1"_s));
    server.isSilent = true;
    const int before = server.asked;
    add(request(u"2"_s));
    ASSERT_TRUE(waitFor([&] { return server.asked > before; }));
    server.vanish();
    ASSERT_TRUE(waitFor([&] { return failures.size() == 1; }));
    EXPECT_EQ(gone, QStringList { u"1"_s });
}

TEST_F(LinuxNotificationCentreTest, aSlowServerIsNotWaitedFor)
{
    FakeNotificationServer server(m_bus.address());
    server.isSilent = true;
    server.appear();
    open();
    for (int number = 0; number < 20; ++number)
        add(request(QString::number(number)));
    ASSERT_TRUE(waitFor([&] { return server.asked == 1; }));
    EXPECT_TRUE(failures.isEmpty());
    server.answerLate();
    ASSERT_TRUE(waitFor([&] { return server.shown.size() == 20; })) << "nothing is lost";
}

TEST_F(LinuxNotificationCentreTest, tellsWhatTheServerAnswersInstead)
{
    FakeNotificationServer server(m_bus.address());
    server.error = u"too many\nnotifications"_s;
    server.appear();
    open();
    add(request(u"1"_s));
    ASSERT_TRUE(waitFor([&] { return failures.size() == 1; }));
    EXPECT_EQ(failures.last(), u"too many notifications"_s);

    server.error.clear();
    show(server, request(u"2"_s));
    server.error = u"too many"_s;
    add(request(u"3"_s));
    ASSERT_TRUE(waitFor([&] { return failures.size() == 2; }));
    EXPECT_EQ(failures.last(), u"too many"_s);
    server.error.clear();
    show(server, request(u"4"_s));
    EXPECT_EQ(failures.size(), 2);
}

TEST_F(LinuxNotificationCentreTest, anAnswerOfAWrongTypeIsAFailure)
{
    FakeNotificationServer server(m_bus.address());
    server.answersNonsense = true;
    server.appear();
    open();
    add(request(u"1"_s));
    ASSERT_TRUE(waitFor([&] { return failures.size() == 1; }));
    server.answersNonsense = false;
    show(server, request(u"2"_s));
    server.answersNonsense = true;
    add(request(u"3"_s));
    ASSERT_TRUE(waitFor([&] { return failures.size() == 2; }));
}

TEST_F(LinuxNotificationCentreTest, survivesTheEndOfTheBus)
{
    FakeNotificationServer server(m_bus.address(), {});
    open();
    show(server, request(u"1"_s));
    m_bus.stop();
    QCoreApplication::processEvents();
    add(request(u"2"_s));
    centre->remove(u"1"_s);
    EXPECT_TRUE(waitFor([&] { return failures.size() == 1; }));
}

// Text

TEST(NotificationTextTest, staysAsItIsWhereItIsShortAndPlain)
{
    EXPECT_EQ(notificationText(u"  Bash: make install\nthen run\n"_s), u"Bash: make install\nthen run"_s);
    EXPECT_EQ(notificationText(u""_s), u""_s);
    EXPECT_EQ(notificationText(u"日本語 👩‍👩‍👧 é"_s), u"日本語 👩‍👩‍👧 é"_s);
}

TEST(NotificationTextTest, losesControlCharactersAndWhatTurnsTheReadingDirection)
{
    EXPECT_EQ(notificationText(u"a\u0000b\u001b[31mc\u0007\r\n\u0085d\u202ee\u2066f\tg"_s), u"ab[31mc\ndef g"_s);
    EXPECT_EQ(notificationText(u"a\u2028b"_s), u"a\nb"_s);
}

TEST(NotificationTextTest, isCutToWhatFits)
{
    EXPECT_EQ(notificationText(QString(400, u'x')), QString(400, u'x'));
    EXPECT_EQ(notificationText(QString(401, u'x')), QString(400, u'x') + u"…"_s);
    EXPECT_EQ(notificationText(u"a\n"_s.repeated(8)), u"a\na\na\na\na\na\na\na"_s);
    EXPECT_EQ(notificationText(u"a\n"_s.repeated(9)), u"a\na\na\na\na\na\na\na…"_s);
    const QString family = u"👩‍👩‍👧"_s;
    EXPECT_TRUE(notificationText(family.repeated(500)).endsWith(family + u"…"_s)) << "no character is torn";
    EXPECT_LT(notificationText(u"e"_s + QString(1'000'000, QChar(0x0301))).size(), 2000);
    EXPECT_LT(notificationText(QString(20'000'000, u'\n') + u"end"_s).size(), 2000);
}

TEST(FindNotificationServerTest, tellsWhoIsThere)
{
    EXPECT_EQ(findNotificationServer({}).presence, Presence::Absent);
    const PrivateBus bus;
    EXPECT_EQ(findNotificationServer(bus.address()).presence, Presence::Absent);
}

} // namespace
} // namespace vantry::test
