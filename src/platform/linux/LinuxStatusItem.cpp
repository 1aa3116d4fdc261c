#include "platform/linux/LinuxStatusItem.h"

#include "platform/linux/ToolkitX11.h"
#include "platform/linux/TrayHosts.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMenu>
#include <QSystemTrayIcon>

namespace vantry {

using namespace Qt::StringLiterals;

LinuxStatusItem::LinuxStatusItem(Scheduler &scheduler, const QString &busAddress)
    : m_scheduler(scheduler)
    , m_bus(busAddress)
    , m_menu(std::make_unique<QMenu>())
    , m_trayAtom(toolkitX11::atom(x11TraySelection))
{}

LinuxStatusItem::~LinuxStatusItem()
{
    qGuiApp->removeNativeEventFilter(this);
}

void LinuxStatusItem::setIcon(const QIcon &icon)
{
    m_icon = icon;
    if (m_item)
        m_item->setIcon(icon);
}

void LinuxStatusItem::setToolTip(const QString &text)
{
    m_toolTip = text;
    if (m_item)
        m_item->setToolTip(text);
}

void LinuxStatusItem::setMenu(const QList<MenuEntry> &entries)
{
    m_menu->clear();
    for (const MenuEntry &entry : entries) {
        if (entry.title.isEmpty()) {
            m_menu->addSeparator();
            continue;
        }
        QAction *action = m_menu->addAction(entry.title);
        action->setEnabled(static_cast<bool>(entry.action));
        if (!entry.key.isEmpty())
            action->setShortcut(QKeySequence(u"Ctrl+"_s + entry.key.toUpper()));
        if (entry.action)
            connect(action, &QAction::triggered, action, entry.action);
    }
}

void LinuxStatusItem::setVisible(bool visible)
{
    m_isVisible = visible;
    if (m_item)
        m_item->setVisible(visible);
    else if (visible && !m_isLooking)
        lookForTray();
}

bool LinuxStatusItem::hasTray() const
{
    return m_item && (m_usesBus ? m_hasHost : hasX11Tray());
}

QRect LinuxStatusItem::frame() const
{
    return m_item && m_isVisible ? m_item->geometry() : QRect();
}

void LinuxStatusItem::lookForTray()
{
    m_isLooking = true;
    watchBus();
    m_patience = m_scheduler.after(patience, [this] { patienceEnded(); });
}

void LinuxStatusItem::watchBus()
{
    if (!m_bus.isConnected())
        return;
    const QString name = QString::fromLatin1(statusNotifierWatcher);
    m_watcher = std::make_unique<QDBusServiceWatcher>(name, *m_bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(m_watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &owner) { watcherOwnerChanged(!owner.isEmpty()); });

    m_bus->connect(name, QString::fromLatin1(statusNotifierWatcherPath), name, u"StatusNotifierHostRegistered"_s, this,
                   SLOT(hostRegistered()));
    askForHost();
}

void LinuxStatusItem::watcherOwnerChanged(bool isOwned)
{
    m_hasHost = false;
    if (isOwned)
        askForHost();
}

void LinuxStatusItem::hostRegistered()
{
    askForHost();
}

/// The watcher may be there before anybody who shows icons; the toolkit would take that for no tray.
void LinuxStatusItem::askForHost()
{
    auto *answer = new QDBusPendingCallWatcher(m_bus->asyncCall(trayHostQuestion()), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid() && reply.value().variant().toBool())
            hostFound();
    });
}

void LinuxStatusItem::hostFound()
{
    m_hasHost = true;
    if (!m_item) {
        m_usesBus = true;
        makeIcon();
    } else if (m_usesBus && onTrayFound) {
        onTrayFound();
    }
}

void LinuxStatusItem::patienceEnded()
{
    if (m_item)
        return;
    if (hasX11Tray()) {
        makeIcon();
        return;
    }
    qGuiApp->installNativeEventFilter(this);
    if (onNoTray)
        onNoTray();
}

bool LinuxStatusItem::hasX11Tray() const
{
    return toolkitX11::ownerOf(m_trayAtom) != XCB_NONE;
}

/// A tray that comes tells so by a message to the root window, which the toolkit listens to.
bool LinuxStatusItem::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    constexpr std::uint8_t sentByClient = 0x80;
    if (m_item || eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if ((event->response_type & ~sentByClient) != XCB_CLIENT_MESSAGE)
        return false;
    if (reinterpret_cast<const xcb_client_message_event_t *>(event)->data.data32[1] != m_trayAtom)
        return false;
    // Not within the toolkit's reading of events.
    m_patience = m_scheduler.after(std::chrono::milliseconds(0), [this] { makeIcon(); });
    return false;
}

void LinuxStatusItem::makeIcon()
{
    if (m_item)
        return;
    m_patience.cancel();
    qGuiApp->removeNativeEventFilter(this);
    m_item = std::make_unique<QSystemTrayIcon>();
    m_item->setIcon(m_icon);
    m_item->setToolTip(m_toolTip);
    m_item->setContextMenu(m_menu.get());
    connect(m_item.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // Of two quick clicks, older trays report the second one in this way.
        if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::DoubleClick)
            return;
        m_hasHost = m_usesBus; // Also when the answer to the question is still on its way.
        if (onClick)
            onClick();
    });
    m_item->setVisible(m_isVisible);
    if (onTrayFound)
        onTrayFound();
}

} // namespace vantry
