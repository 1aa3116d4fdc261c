#pragma once

#include "platform/linux/SessionBus.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QHash>
#include <QStringList>

namespace vantry::test {

/// Answers on the bus as a konsole does, or as a test says. Its own process is the test's. It runs on the thread that
/// made it, whose event loop has to run while a driver asks from another one.
class FakeKonsole final : public QDBusVirtualObject
{
public:
    explicit FakeKonsole(const QString &busAddress)
        : m_bus(busAddress)
    {
        m_service = m_bus->baseService();
        m_bus->registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        addChildren(QStringLiteral("/Windows"), {});
        addChildren(QStringLiteral("/konsole"), {});
    }

    [[nodiscard]] QString service() const { return m_service; }
    [[nodiscard]] QString target(int session) const { return service() + u",/Sessions/" + QString::number(session); }

    /// What a method of an object gives back.
    void set(const QString &path, const QString &method, const QVariant &value)
    {
        m_values.insert(path + u' ' + method, value);
    }
    /// The D-Bus error, by its whole name, that a method of an object gives instead.
    void fail(const QString &path, const QString &method, const QString &error)
    {
        m_errors.insert(path + u' ' + method, error);
    }
    /// A method that gets no answer.
    void silence(const QString &path, const QString &method) { m_silent.append(path + u' ' + method); }

    void addChildren(const QString &path, const QStringList &names)
    {
        QString xml = QStringLiteral("<!DOCTYPE node><node><interface name=\"x\"><method name=\"y\"/></interface>");
        for (const QString &name : names)
            xml += u"<node name=\"" + name + u"\"/>";
        set(path, QStringLiteral("Introspect"), QString(xml + u"</node>"));
    }
    /// A window with these sessions, each of them started in it.
    void addWindow(int number, quint64 desktopWindow, const QStringList &sessions)
    {
        m_windows.append(QString::number(number));
        m_mainWindows.append(u"MainWindow_" + QString::number(number));
        addChildren(QStringLiteral("/Windows"), m_windows);
        addChildren(QStringLiteral("/konsole"), m_mainWindows);
        const QString path = u"/Windows/" + QString::number(number);
        set(path, QStringLiteral("sessionList"), sessions);
        set(path, QStringLiteral("setCurrentSession"), {});
        set(u"/konsole/" + m_mainWindows.last(), QStringLiteral("winId"),
            QVariant::fromValue<qlonglong>(desktopWindow));
        set(u"/konsole/" + m_mainWindows.last(), QStringLiteral("activateAction"), true);
        for (const QString &session : sessions)
            addSession(session, path, desktopWindow);
    }
    void addSession(const QString &session, const QString &birthWindow, quint64 birthDesktopWindow)
    {
        const QString path = u"/Sessions/" + session;
        set(path, QStringLiteral("sendText"), {});
        set(path, QStringLiteral("processId"), 4711);
        set(path, QStringLiteral("environment"),
            QStringList { QStringLiteral("A=b"), QString(u"KONSOLE_DBUS_WINDOW=" + birthWindow),
                          QString(u"WINDOWID=" + QString::number(birthDesktopWindow)) });
    }

    /// "PATH METHOD ARGUMENT…", without those that only ask.
    QStringList calls;

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        const QString call = message.path() + u' ' + message.member();
        note(call, message.arguments());
        if (m_silent.contains(call))
            return true;
        if (const auto error = m_errors.constFind(call); error != m_errors.cend())
            return connection.send(message.createErrorReply(*error, QStringLiteral("for\na reason")));
        const auto value = m_values.constFind(call);
        if (value == m_values.cend())
            return connection.send(message.createErrorReply(QDBusError::UnknownObject, QStringLiteral("none")));
        return connection.send(value->isValid() ? message.createReply(*value) : message.createReply());
    }

private:
    void note(const QString &call, const QVariantList &arguments)
    {
        static const QStringList changes { QStringLiteral("sendText"), QStringLiteral("setCurrentSession"),
                                           QStringLiteral("newSession"), QStringLiteral("activateAction") };
        if (!changes.contains(call.section(u' ', 1)))
            return;
        QString line = call;
        for (const QVariant &argument : arguments)
            line += u' ' + argument.toString();
        calls.append(line);
    }

    BusConnection m_bus;
    QString m_service;
    QHash<QString, QVariant> m_values;
    QHash<QString, QString> m_errors;
    QStringList m_silent;
    QStringList m_windows;
    QStringList m_mainWindows;
};

} // namespace vantry::test
