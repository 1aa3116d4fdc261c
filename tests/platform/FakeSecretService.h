#pragma once

#include "platform/linux/SessionBus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QMap>
#include <QStringList>

#include <gtest/gtest.h>

#include <utility>

namespace vantry::test {

/// A Secret Service that keeps nothing, and does as a test tells it to.
class FakeSecretService final : public QDBusVirtualObject
{
public:
    explicit FakeSecretService(const QString &busAddress)
        : m_bus(busAddress)
    {
        qDBusRegisterMetaType<QMap<QString, QString>>();
        EXPECT_TRUE(
            m_bus->registerVirtualObject(QStringLiteral("/org/freedesktop/secrets"), this, QDBusConnection::SubPath));
        appear();
    }

    void appear() { EXPECT_TRUE(m_bus->registerService(name())); }
    void vanish() { m_bus->unregisterService(name()); }
    /// The user is through with what was asked.
    void endPrompt(bool isDismissed)
    {
        auto signal = QDBusMessage::createSignal(promptPath, QStringLiteral("org.freedesktop.Secret.Prompt"),
                                                 QStringLiteral("Completed"));
        signal << isDismissed << QVariant::fromValue(QDBusVariant(QString()));
        EXPECT_TRUE(m_bus->send(signal));
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
        calls.append(message.member());
        if (!isSilent)
            return answer(message);
        m_unanswered.append(message);
        return true;
    }

    QStringList calls;                    ///< The names of what was called.
    QList<QMap<QString, QString>> wanted; ///< The attributes of what was searched and made.
    QStringList secrets;                  ///< Of the items that were made.
    QStringList deleted;                  ///< Paths of items.
    QList<QDBusObjectPath> unlockedItems;
    QList<QDBusObjectPath> lockedItems;
    QString collection { QStringLiteral("/org/freedesktop/secrets/collection/login") };
    bool asksToUnlock { false };
    bool asksToCreate { false };
    bool isLocked { false };
    bool isSilent { false };
    bool answersNonsense { false };
    QString error; ///< What every call is answered with; empty: none.
    const QString promptPath { QStringLiteral("/org/freedesktop/secrets/prompt/p1") };

private:
    static QString name() { return QStringLiteral("org.freedesktop.secrets"); }

    [[nodiscard]] QVariant promptIf(bool asks) const
    {
        return QVariant::fromValue(QDBusObjectPath(asks ? promptPath : QStringLiteral("/")));
    }
    bool answer(const QDBusMessage &message)
    {
        if (!error.isEmpty())
            return m_bus->send(message.createErrorReply(QStringLiteral("org.example.Error"), error));
        if (answersNonsense)
            return m_bus->send(message.createReply(QStringLiteral("nonsense")));
        return m_bus->send(message.createReply(valuesFor(message)));
    }
    QVariantList valuesFor(const QDBusMessage &message)
    {
        const auto pathValue = [](const QString &path) { return QVariant::fromValue(QDBusObjectPath(path)); };
        const QString member = message.member();
        if (member == u"OpenSession")
            return { QVariant::fromValue(QDBusVariant(QString())),
                     pathValue(QStringLiteral("/org/freedesktop/secrets/session/s1")) };
        if (member == u"ReadAlias")
            return { pathValue(collection) };
        if (member == u"Get")
            return { QVariant::fromValue(QDBusVariant(isLocked)) };
        if (member == u"Unlock")
            return { QVariant::fromValue(QList<QDBusObjectPath>()), promptIf(asksToUnlock) };
        if (member == u"SearchItems") {
            wanted.append(qdbus_cast<QMap<QString, QString>>(message.arguments().constFirst()));
            return { QVariant::fromValue(unlockedItems), QVariant::fromValue(lockedItems) };
        }
        if (member == u"Delete") {
            deleted.append(message.path());
            return { pathValue(promptPath) };
        }
        if (member == u"CreateItem") {
            takeItem(message.arguments());
            return { pathValue(QStringLiteral("/org/freedesktop/secrets/collection/login/1")), promptIf(asksToCreate) };
        }
        return {};
    }
    void takeItem(const QVariantList &arguments)
    {
        const auto properties = qdbus_cast<QVariantMap>(arguments[0]);
        wanted.append(qdbus_cast<QMap<QString, QString>>(
            properties.value(QStringLiteral("org.freedesktop.Secret.Item.Attributes"))));
        const auto secret = arguments[1].value<QDBusArgument>();
        QDBusObjectPath session;
        QByteArray parameters;
        QByteArray value;
        secret.beginStructure();
        QString contentType;
        secret >> session >> parameters >> value >> contentType;
        secret.endStructure();
        secrets.append(QString::fromUtf8(value));
    }

    BusConnection m_bus;
    QList<QDBusMessage> m_unanswered;
};

} // namespace vantry::test
