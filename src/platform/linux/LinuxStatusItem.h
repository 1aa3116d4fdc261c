#pragma once

#include "base/Scheduler.h"
#include "platform/StatusItem.h"
#include "platform/linux/SessionBus.h"

#include <QAbstractNativeEventFilter>
#include <QIcon>
#include <QObject>

#include <memory>

class QDBusServiceWatcher;
class QMenu;
class QSystemTrayIcon;

namespace vantry {

/// A StatusNotifierItem on the session bus, or an icon in the X11 tray of older bars. The toolkit chooses between the
/// two when it is first asked for a tray, for good: so it isn't asked before there is one. Trays that end and come back
/// get the icon again. Needs the QApplication. Main thread only.
class LinuxStatusItem final : public QObject, public StatusItem, private QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    /// At the start of a desktop's session the X11 tray may be there before the other kind, which is the better one.
    static constexpr std::chrono::milliseconds patience { 2'000 };

    /// The scheduler must outlive this.
    explicit LinuxStatusItem(Scheduler &scheduler, const QString &busAddress = sessionBusAddress());
    ~LinuxStatusItem() override;

    void setIcon(const QIcon &icon) override;
    void setToolTip(const QString &text) override;
    void setMenu(const QList<MenuEntry> &entries) override;
    void setVisible(bool visible) override;
    [[nodiscard]] bool hasTray() const override;
    [[nodiscard]] QRect frame() const override;

private Q_SLOTS:
    // Found by name, as Qt connects signals of the bus.
    void hostRegistered();

private:
    void lookForTray();
    void watchBus();
    void watcherOwnerChanged(bool isOwned);
    void askForHost();
    void hostFound();
    void patienceEnded();
    [[nodiscard]] bool hasX11Tray() const;
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;
    void makeIcon();

    Scheduler &m_scheduler;
    BusConnection m_bus;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_item; ///< Null as long as there has been no tray.
    QIcon m_icon;
    QString m_toolTip;
    ScheduledTimer m_patience;
    std::uint32_t m_trayAtom; ///< The selection that an X11 tray owns; 0 without X11.
    bool m_isVisible { false };
    bool m_hasHost { false }; ///< On the bus.
    bool m_isLooking { false };
    bool m_usesBus { false }; ///< The way that the toolkit has chosen. Only once there is an icon.
};

} // namespace vantry
