#pragma once

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QStringList>
#include <QThread>

#include <gtest/gtest.h>

namespace vantry::test {

/// A tray host on a session bus: owns the watcher's name, and has icons register. A test plays the user. Waiting runs
/// the event loop, which answers the icons.
class FakeTray final : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit FakeTray(const QString &busAddress);
    ~FakeTray() override;

    /// As if the host had crashed.
    void leave();
    void comeBack();

    /// Whether the last icon that was registered is still there.
    [[nodiscard]] bool hasIcon() const;
    /// Waits until an icon is registered.
    [[nodiscard]] bool waitForIcon();
    /// A property of the icon's.
    [[nodiscard]] QVariant property(const QString &name);
    /// Clicks the icon.
    void activate();
    /// The titles of the icon's menu, "-" for a separator, "(…)" around a disabled one.
    [[nodiscard]] QStringList menu();
    /// Clicks the entry of the menu.
    void choose(const QString &title);

    template <typename Condition>
    [[nodiscard]] static bool waitFor(Condition condition)
    {
        constexpr int limit = 30'000;
        QElapsedTimer timer;
        timer.start();
        while (!condition()) {
            if (timer.elapsed() > limit)
                return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::msleep(2);
        }
        return true;
    }

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

private:
    struct Entry
    {
        int id;
        QString title;
    };
    [[nodiscard]] QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                                    const QVariantList &arguments);
    [[nodiscard]] QList<Entry> entries();

    QDBusConnection m_bus;
    QString m_icon; ///< The connection of the one that registered last.
};

} // namespace vantry::test
