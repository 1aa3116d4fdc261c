#pragma once

#include "platform/linux/NotificationServer.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

namespace vantry::test {

/// A notification server on a bus, which shows nothing. The test plays the user.
class FakeNotificationServer final : public QDBusVirtualObject
{
public:
    struct Shown
    {
        uint id { 0 };
        QString applicationName;
        uint replaces { 0 };
        QString icon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int timeout { 0 };
    };

    explicit FakeNotificationServer(const QString &busAddress)
        : m_bus(busAddress)
    {
        EXPECT_TRUE(m_bus->registerVirtualObject(QString::fromLatin1(notificationPath), this));
    }
    FakeNotificationServer(const QString &busAddress, const QStringList &capabilities_)
        : FakeNotificationServer(busAddress)
    {
        capabilities = capabilities_;
        appear();
    }

    void appear() { EXPECT_TRUE(m_bus->registerService(QString::fromLatin1(notificationService))); }
    void vanish() { m_bus->unregisterService(QString::fromLatin1(notificationService)); }

    void press(uint id, const QString &action) { emitSignal(QStringLiteral("ActionInvoked"), { id, action }); }
    void giveToken(uint id, const QString &token) { emitSignal(QStringLiteral("ActivationToken"), { id, token }); }
    void dismiss(uint id)
    {
        constexpr uint byTheUser = 2;
        emitSignal(QStringLiteral("NotificationClosed"), { id, byTheUser });
    }
    /// Answers what it was silent about.
    void answerLate()
    {
        isSilent = false;
        for (const QDBusMessage &message : std::exchange(m_unanswered, {}))
            answer(message);
    }

    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection & /*connection*/) override
    {
        if (message.member() == u"CloseNotification") {
            closed.append(message.arguments().constFirst().toUInt());
            return m_bus->send(message.createReply());
        }
        ++asked;
        if (!isSilent)
            return answer(message);
        m_unanswered.append(message);
        return true;
    }

    QStringList capabilities { QStringLiteral("actions"), QStringLiteral("body"), QStringLiteral("body-markup") };
    QList<Shown> shown;
    QList<uint> closed;
    QString signature; ///< Of the last Notify.
    QString error;     ///< What every call is answered with; empty: none.
    bool answersNonsense { false };
    bool isSilent { false };
    int asked { 0 };

private:
    bool answer(const QDBusMessage &message)
    {
        if (!error.isEmpty())
            return m_bus->send(message.createErrorReply(QStringLiteral("org.example.Error"), error));
        if (answersNonsense)
            return m_bus->send(message.createReply(QStringLiteral("nonsense")));
        if (message.member() == u"GetCapabilities")
            return m_bus->send(message.createReply(capabilities));
        if (message.member() != u"Notify")
            return false;
        const QVariantList values = message.arguments();
        shown.append({ ++m_lastId, values[0].toString(), values[1].toUInt(), values[2].toString(), values[3].toString(),
                       values[4].toString(), values[5].toStringList(), qdbus_cast<QVariantMap>(values[6]),
                       values[7].toInt() });
        signature = message.signature();
        return m_bus->send(message.createReply(m_lastId));
    }
    void emitSignal(const QString &name, const QVariantList &arguments)
    {
        auto signal = QDBusMessage::createSignal(QString::fromLatin1(notificationPath),
                                                 QString::fromLatin1(notificationInterface), name);
        signal.setArguments(arguments);
        EXPECT_TRUE(m_bus->send(signal));
    }

    BusConnection m_bus;
    QList<QDBusMessage> m_unanswered;
    uint m_lastId { 0 };
};

} // namespace vantry::test
