#pragma once

#include "base/DebugLog.h"
#include "platform/DesktopPreferences.h"
#include "platform/linux/SessionBus.h"

#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QVariantMap>

namespace vantry {

/// The preferences that the desktop's settings portal tells, followed live. Until it has answered, and where there is
/// none, the values are the defaults; a portal that comes later is asked then, and when it goes what it told stays. It
/// is never waited for. Main thread only.
class LinuxDesktopPreferences final : public QObject, public DesktopPreferences
{
    Q_OBJECT

public:
    /// An empty address is that of no bus.
    LinuxDesktopPreferences(const QString &busAddress, Log &log);

    [[nodiscard]] const Values &values() const override { return m_values; }

    /// The family in a font's description as GNOME writes it, such as "Noto Sans Medium 11".
    [[nodiscard]] static QString familyOf(const QString &description);

private Q_SLOTS:
    void takeChange(const QString &group, const QString &key, const QDBusVariant &value);

private:
    using Groups = QMap<QString, QVariantMap>;

    void ask();
    void take(const Groups &groups);
    /// Takes one setting into the values. Others than ours are ignored, ours with a wrong type with a line in the log.
    void apply(Values &values, const QString &group, const QString &key, const QVariant &value);
    void set(const Values &values);

    Log &m_log;
    BusConnection m_bus;
    QDBusServiceWatcher m_watcher;
    Values m_values;
};

} // namespace vantry
