#include "platform/linux/LinuxDesktopPreferences.h"

#include "PrivateBus.h"
#include "support/RecordingLog.h"
#include "support/WaitFor.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>

#include <gmock/gmock.h>

#include <limits>

using namespace Qt::StringLiterals;

namespace vantry::test {
namespace {

using Groups = QMap<QString, QVariantMap>;

constexpr auto appearance = "org.freedesktop.appearance"_L1;
constexpr auto desktopInterface = "org.gnome.desktop.interface"_L1;
constexpr auto portalPath = "/org/freedesktop/portal/desktop"_L1;
constexpr auto settingsInterface = "org.freedesktop.portal.Settings"_L1;

/// A settings portal on a bus, with the settings that a test gives it.
class FakePortal final : public QDBusVirtualObject
{
public:
    explicit FakePortal(const QString &busAddress)
        : m_bus(busAddress)
    {
        qDBusRegisterMetaType<Groups>();
        m_bus->registerVirtualObject(portalPath, this);
    }

    void appear() { EXPECT_TRUE(m_bus->registerService(u"org.freedesktop.portal.Desktop"_s)); }
    void vanish() { m_bus->unregisterService(u"org.freedesktop.portal.Desktop"_s); }

    void change(const QString &group, const QString &key, const QVariant &value)
    {
        settings[group][key] = value;
        auto signal = QDBusMessage::createSignal(portalPath, settingsInterface, u"SettingChanged"_s);
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        m_bus->send(signal);
    }

    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.member() != u"ReadAll"_s)
            return false;
        ++asked;
        if (isSilent)
            return true;
        connection.send(wrongAnswer.isValid() ? message.createReply(wrongAnswer)
                                              : message.createReply(QVariant::fromValue(settings)));
        return true;
    }

    Groups settings;
    QVariant wrongAnswer;
    bool isSilent { false };
    int asked { 0 };

private:
    BusConnection m_bus;
};

class LinuxDesktopPreferencesTest : public testing::Test
{
protected:
    PrivateBus m_bus;
    RecordingLog m_log;
};

TEST_F(LinuxDesktopPreferencesTest, withoutABusTheValuesAreTheDefaults)
{
    const LinuxDesktopPreferences preferences({}, m_log);
    EXPECT_EQ(preferences.values(), DesktopPreferences::Values());
    EXPECT_TRUE(m_log.lines().isEmpty());
}

TEST_F(LinuxDesktopPreferencesTest, takesWhatThePortalTells)
{
    FakePortal portal(m_bus.address());
    portal.settings = { { appearance, { { u"color-scheme"_s, 1U }, { u"contrast"_s, 1U } } },
                        { desktopInterface,
                          { { u"enable-animations"_s, false },
                            { u"text-scaling-factor"_s, 1.25 },
                            { u"font-name"_s, u"Inter Medium 11"_s },
                            { u"monospace-font-name"_s, u"JetBrains Mono 10"_s } } } };
    portal.appear();
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    ASSERT_TRUE(waitFor([&] { return preferences.values().prefersDark; }));
    EXPECT_EQ(preferences.values(),
              (DesktopPreferences::Values { true, true, true, 1.25, u"Inter"_s, u"JetBrains Mono"_s }));
}

TEST_F(LinuxDesktopPreferencesTest, followsEachChangeAndTellsOncePerChange)
{
    FakePortal portal(m_bus.address());
    portal.appear();
    LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    int changes = 0;
    preferences.onChanged = [&] { ++changes; };
    ASSERT_TRUE(waitFor([&] { return portal.asked == 1; }));
    portal.change(appearance, u"color-scheme"_s, 1U);
    ASSERT_TRUE(waitFor([&] { return preferences.values().prefersDark; }));
    portal.change(appearance, u"color-scheme"_s, 1U);
    portal.change(desktopInterface, u"cursor-size"_s, 24);
    portal.change(desktopInterface, u"text-scaling-factor"_s, 1.5);
    ASSERT_TRUE(waitFor([&] { return preferences.values().textScale == 1.5; }));
    portal.change(appearance, u"color-scheme"_s, 2U);
    ASSERT_TRUE(waitFor([&] { return !preferences.values().prefersDark; }));
    EXPECT_EQ(changes, 3);
    EXPECT_TRUE(m_log.lines().isEmpty());
}

TEST_F(LinuxDesktopPreferencesTest, asksAPortalThatComesLater)
{
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    FakePortal portal(m_bus.address());
    portal.settings[appearance][u"color-scheme"_s] = 1U;
    portal.appear();
    ASSERT_TRUE(waitFor([&] { return preferences.values().prefersDark; }));
    portal.change(appearance, u"contrast"_s, 1U);
    ASSERT_TRUE(waitFor([&] { return preferences.values().highContrast; }));
}

TEST_F(LinuxDesktopPreferencesTest, keepsWhatAPortalToldThatWentAndAsksItsSuccessor)
{
    FakePortal portal(m_bus.address());
    portal.settings[appearance][u"color-scheme"_s] = 1U;
    portal.appear();
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    ASSERT_TRUE(waitFor([&] { return preferences.values().prefersDark; }));
    portal.vanish();
    portal.settings[appearance][u"contrast"_s] = 1U;
    portal.appear();
    ASSERT_TRUE(waitFor([&] { return preferences.values().highContrast; }));
    EXPECT_TRUE(preferences.values().prefersDark);
}

TEST_F(LinuxDesktopPreferencesTest, doesNotWaitForAPortalThatNeverAnswers)
{
    FakePortal portal(m_bus.address());
    portal.isSilent = true;
    portal.appear();
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    ASSERT_TRUE(waitFor([&] { return portal.asked == 1; }));
    EXPECT_EQ(preferences.values(), DesktopPreferences::Values());
    portal.change(appearance, u"color-scheme"_s, 1U);
    EXPECT_TRUE(waitFor([&] { return preferences.values().prefersDark; }));
}

TEST_F(LinuxDesktopPreferencesTest, ignoresValuesOfAWrongTypeWithALine)
{
    FakePortal portal(m_bus.address());
    portal.settings = { { appearance, { { u"color-scheme"_s, u"dark"_s }, { u"contrast"_s, 1U } } } };
    portal.appear();
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    ASSERT_TRUE(waitFor([&] { return preferences.values().highContrast; }));
    EXPECT_FALSE(preferences.values().prefersDark);
    portal.change(desktopInterface, u"text-scaling-factor"_s, std::numeric_limits<double>::quiet_NaN());
    portal.change(desktopInterface, u"text-scaling-factor"_s, -1.0);
    portal.change(desktopInterface, u"enable-animations"_s, 0);
    portal.change(desktopInterface, u"font-name"_s, 12);
    ASSERT_TRUE(waitFor([&] { return m_log.lines().size() == 5; }));
    EXPECT_EQ(preferences.values().textScale, 1);
    EXPECT_FALSE(preferences.values().reducedMotion);
}

TEST_F(LinuxDesktopPreferencesTest, keepsTheTextScaleWithinWhatCanBeShown)
{
    FakePortal portal(m_bus.address());
    portal.appear();
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    portal.change(desktopInterface, u"text-scaling-factor"_s, 100.0);
    ASSERT_TRUE(waitFor([&] { return preferences.values().textScale == 3; }));
    portal.change(desktopInterface, u"text-scaling-factor"_s, 0.01);
    ASSERT_TRUE(waitFor([&] { return preferences.values().textScale == 0.5; }));
}

TEST_F(LinuxDesktopPreferencesTest, ignoresAnAnswerOfAWrongType)
{
    FakePortal portal(m_bus.address());
    portal.wrongAnswer = u"dark"_s;
    portal.appear();
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    ASSERT_TRUE(waitFor([&] { return m_log.lines().size() == 1; }));
    EXPECT_EQ(preferences.values(), DesktopPreferences::Values());
}

TEST_F(LinuxDesktopPreferencesTest, survivesTheEndOfTheBus)
{
    FakePortal portal(m_bus.address());
    portal.settings[appearance][u"color-scheme"_s] = 1U;
    portal.appear();
    const LinuxDesktopPreferences preferences(m_bus.address(), m_log);
    ASSERT_TRUE(waitFor([&] { return preferences.values().prefersDark; }));
    m_bus.stop();
    QCoreApplication::processEvents();
    EXPECT_TRUE(preferences.values().prefersDark);
}

TEST(FontDescriptionTest, findsTheFamilyBeforeStyleAndSize)
{
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"Cantarell 11"_s), u"Cantarell"_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"Noto Sans Medium 10.5"_s), u"Noto Sans"_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"Inter Semi-Bold Italic 12"_s), u"Inter"_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"Ubuntu, 11"_s), u"Ubuntu"_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"Source Sans 3"_s), u"Source Sans"_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"Source Sans 3 11"_s), u"Source Sans 3"_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"Black"_s), u"Black"_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u""_s), u""_s);
    EXPECT_EQ(LinuxDesktopPreferences::familyOf(u"   "_s), u""_s);
}

} // namespace
} // namespace vantry::test
