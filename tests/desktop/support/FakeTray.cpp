#include "desktop/support/FakeTray.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace vantry::test {

using namespace Qt::StringLiterals;

namespace {

const QString watcherName = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;

} // namespace

FakeTray::FakeTray(const QString &busAddress)
    : m_bus(QDBusConnection::connectToBus(busAddress, u"fake-tray"_s))
{
    EXPECT_TRUE(m_bus.registerVirtualObject(watcherPath, this));
    comeBack();
}

FakeTray::~FakeTray()
{
    m_bus.unregisterObject(watcherPath);
    QDBusConnection::disconnectFromBus(u"fake-tray"_s);
}

void FakeTray::leave()
{
    m_icon.clear();
    EXPECT_TRUE(m_bus.unregisterService(watcherName));
}

void FakeTray::comeBack()
{
    EXPECT_TRUE(m_bus.registerService(watcherName));
}

bool FakeTray::hasIcon() const
{
    return !m_icon.isEmpty() && m_bus.interface()->isServiceRegistered(m_icon);
}

bool FakeTray::waitForIcon()
{
    return waitFor([this] { return !m_icon.isEmpty(); });
}

QVariant FakeTray::property(const QString &name)
{
    const QDBusMessage reply = call(u"/StatusNotifierItem"_s, u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                                    { u"org.kde.StatusNotifierItem"_s, name });
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

void FakeTray::activate()
{
    EXPECT_EQ(call(u"/StatusNotifierItem"_s, u"org.kde.StatusNotifierItem"_s, u"Activate"_s, { 0, 0 }).type(),
              QDBusMessage::ReplyMessage);
}

QStringList FakeTray::menu()
{
    QStringList titles;
    for (const Entry &entry : entries())
        titles.append(entry.title);
    return titles;
}

void FakeTray::choose(const QString &title)
{
    for (const Entry &entry : entries()) {
        if (entry.title != title)
            continue;
        auto event = QDBusMessage::createMethodCall(m_icon, u"/MenuBar"_s, u"com.canonical.dbusmenu"_s, u"Event"_s);
        event.setArguments({ entry.id, u"clicked"_s, QVariant::fromValue(QDBusVariant(0)), 0U });
        m_bus.asyncCall(event); // Who quits may not answer any more.
        return;
    }
    ADD_FAILURE() << "the menu has no entry " << title.toStdString();
}

QList<FakeTray::Entry> FakeTray::entries()
{
    const QDBusMessage reply =
        call(u"/MenuBar"_s, u"com.canonical.dbusmenu"_s, u"GetLayout"_s, { 0, -1, QStringList() });
    // (u, (i, a{sv}, av)): the root and, in variants, its entries of the same form.
    QList<Entry> list;
    const auto layout = reply.arguments().value(1).value<QDBusArgument>();
    int rootId = 0;
    QVariantMap rootProperties;
    layout.beginStructure();
    layout >> rootId >> rootProperties;
    layout.beginArray();
    while (!layout.atEnd()) {
        QDBusVariant child;
        layout >> child;
        const auto structure = child.variant().value<QDBusArgument>();
        Entry entry {};
        QVariantMap properties;
        structure.beginStructure();
        structure >> entry.id >> properties;
        structure.endStructure();
        const bool isEnabled = properties.value(u"enabled"_s, true).toBool();
        entry.title = properties.value(u"label"_s).toString();
        if (properties.value(u"type"_s).toString() == u"separator")
            entry.title = u"-"_s;
        else if (!isEnabled)
            entry.title = u'(' + entry.title + u')';
        list.append(entry);
    }
    layout.endArray();
    layout.endStructure();
    return list;
}

QDBusMessage FakeTray::call(const QString &path, const QString &interface, const QString &method,
                            const QVariantList &arguments)
{
    auto message = QDBusMessage::createMethodCall(m_icon, path, interface, method);
    message.setArguments(arguments);
    // Not a blocking call: the icon may ask back meanwhile.
    QDBusPendingCall pending = m_bus.asyncCall(message);
    EXPECT_TRUE(waitFor([&pending] { return pending.isFinished(); })) << method.toStdString();
    return pending.reply();
}

QString FakeTray::introspect(const QString &) const
{
    return uR"(<interface name="org.kde.StatusNotifierWatcher">
        <method name="RegisterStatusNotifierItem"><arg name="service" type="s" direction="in"/></method>
        <method name="RegisterStatusNotifierHost"><arg name="service" type="s" direction="in"/></method>
        <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
        <property name="ProtocolVersion" type="i" access="read"/>
        <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    </interface>)"_s;
}

bool FakeTray::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    const auto reply = [&](const QVariantList &arguments) { return connection.send(message.createReply(arguments)); };
    if (message.member() == u"RegisterStatusNotifierItem") {
        m_icon = message.service();
        return reply({});
    }
    if (message.member() == u"RegisterStatusNotifierHost")
        return reply({});
    if (message.member() == u"Get") {
        const QString name = message.arguments().value(1).toString();
        const QVariant value = name == u"IsStatusNotifierHostRegistered" ? QVariant(true)
                               : name == u"ProtocolVersion"              ? QVariant(0)
                                                                         : QVariant(QStringList());
        return reply({ QVariant::fromValue(QDBusVariant(value)) });
    }
    return false;
}

} // namespace vantry::test
