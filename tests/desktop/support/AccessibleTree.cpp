#include "AccessibleTree.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>

namespace vantry::test {

using namespace Qt::StringLiterals;

namespace {

const QString accessible = u"org.a11y.atspi.Accessible"_s;
const QString connectionName = u"accessibility"_s;

QDBusConnection connectToAccessibilityBus(const QString &sessionBusAddress)
{
    const QString session = u"accessibility-session"_s;
    QDBusConnection bus = QDBusConnection::connectToBus(sessionBusAddress, session);
    const QDBusMessage answer = bus.call(
        QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, u"org.a11y.Bus"_s, u"GetAddress"_s));
    QDBusConnection::disconnectFromBus(session);
    return QDBusConnection::connectToBus(answer.arguments().value(0).toString(), connectionName);
}

} // namespace

AccessibleTree::AccessibleTree(const QString &sessionBusAddress)
    : m_bus(connectToAccessibilityBus(sessionBusAddress))
{}

AccessibleTree::~AccessibleTree()
{
    QDBusConnection::disconnectFromBus(connectionName);
}

std::optional<AccessibleTree::Object> AccessibleTree::find(Role role, const QString &name) const
{
    return findIn({ u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s }, role, name);
}

std::optional<AccessibleTree::Object> AccessibleTree::findIn(const Object &parent, Role role, const QString &name) const
{
    for (const Object &child : childrenOf(parent)) {
        if (roleOf(child) == role && nameOf(child).startsWith(name))
            return child;
        if (const auto found = findIn(child, role, name))
            return found;
    }
    return std::nullopt;
}

bool AccessibleTree::hasFocus(const Object &object) const
{
    constexpr uint focused = 1U << 12U; // ATSPI_STATE_FOCUSED, in the first of two words
    const QDBusMessage answer = call(object, accessible, u"GetState"_s);
    return (qdbus_cast<QList<uint>>(answer.arguments().value(0)).value(0) & focused) != 0;
}

bool AccessibleTree::press(const Object &object) const
{
    return act(object, u"Press"_s);
}

bool AccessibleTree::toggle(const Object &object) const
{
    return act(object, u"Toggle"_s);
}

bool AccessibleTree::act(const Object &object, const QString &wanted) const
{
    const QString action = u"org.a11y.atspi.Action"_s;
    for (int i = 0;; ++i) {
        const QString name = call(object, action, u"GetName"_s, { i }).arguments().value(0).toString();
        if (name.isEmpty())
            return false;
        if (name == wanted)
            return call(object, action, u"DoAction"_s, { i }).arguments().value(0).toBool();
    }
}

QDBusMessage AccessibleTree::call(const Object &object, const QString &interface, const QString &method,
                                  const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(object.program, object.path, interface, method);
    message.setArguments(arguments);
    return m_bus.call(message);
}

std::vector<AccessibleTree::Object> AccessibleTree::childrenOf(const Object &object) const
{
    const QDBusMessage answer = call(object, accessible, u"GetChildren"_s);
    std::vector<Object> children;
    if (answer.type() != QDBusMessage::ReplyMessage)
        return children;
    const auto list = answer.arguments().value(0).value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        Object child;
        QDBusObjectPath path;
        list.beginStructure();
        list >> child.program >> path;
        list.endStructure();
        child.path = path.path();
        children.push_back(child);
    }
    list.endArray();
    return children;
}

QString AccessibleTree::nameOf(const Object &object) const
{
    const QDBusMessage answer = call(object, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, { accessible, u"Name"_s });
    return answer.arguments().value(0).value<QDBusVariant>().variant().toString();
}

uint AccessibleTree::roleOf(const Object &object) const
{
    return call(object, accessible, u"GetRole"_s).arguments().value(0).toUInt();
}

} // namespace vantry::test
