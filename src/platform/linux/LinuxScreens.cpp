#include "platform/linux/LinuxScreens.h"

#include "platform/linux/ToolkitX11.h"

#include <QGuiApplication>
#include <QScreen>

namespace vantry {

using namespace std::chrono_literals;

LinuxScreens::LinuxScreens(const OverlayWindows &overlays, Scheduler &scheduler)
    : m_overlays(overlays)
    , m_scheduler(scheduler)
    , m_told(screens())
    , m_workArea(toolkitX11::atom("_NET_WORKAREA"))
    , m_clientList(toolkitX11::atom("_NET_CLIENT_LIST"))
{
    const auto all = QGuiApplication::screens();
    for (QScreen *screen : all)
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watch(screen);
        changeSoon();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &LinuxScreens::changeSoon);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &LinuxScreens::changeSoon);
    qGuiApp->installNativeEventFilter(this);
}

LinuxScreens::~LinuxScreens()
{
    qGuiApp->removeNativeEventFilter(this);
}

QList<ScreenInfo> LinuxScreens::screens() const
{
    QList<ScreenInfo> list;
    const auto all = QGuiApplication::screens(); // The primary one is the first.
    for (const QScreen *screen : all) {
        // While the last screen goes, the toolkit has one without a size.
        if (screen->geometry().isEmpty())
            continue;
        const QRect available = m_overlays.availableArea(*screen);
        if (m_hasVirtualNotch)
            list.append(withVirtualNotch(screen->name(), screen->geometry(), available));
        else
            list.append({ .name = screen->name(), .frame = screen->geometry(), .available = available });
    }
    return list;
}

void LinuxScreens::setHasVirtualNotch(bool hasVirtualNotch)
{
    m_hasVirtualNotch = hasVirtualNotch;
    changeSoon();
}

ScreenInfo LinuxScreens::withVirtualNotch(const QString &name, const QRect &frame, const QRect &available)
{
    const int height = virtualNotchSize.height();
    const int beside = available.width() - virtualNotchSize.width();
    if (beside < 2 || available.height() <= height)
        return { .name = name, .frame = frame, .available = available };
    const int left = beside / 2;
    const int right = beside - left;
    return { .name = name,
             .frame = available,
             .available = available.adjusted(0, height, 0, 0),
             .topInset = height,
             .topLeftArea = QRect(available.x(), available.y(), left, height),
             .topRightArea = QRect(available.x() + available.width() - right, available.y(), right, height) };
}

void LinuxScreens::watch(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &LinuxScreens::changeSoon);
    connect(screen, &QScreen::availableGeometryChanged, this, &LinuxScreens::changeSoon);
    connect(screen, &QScreen::logicalDotsPerInchChanged, this, &LinuxScreens::changeSoon);
}

bool LinuxScreens::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    if (toolkitX11::kindOf(*event) != XCB_PROPERTY_NOTIFY)
        return false;
    const xcb_atom_t property = reinterpret_cast<const xcb_property_notify_event_t *>(event)->atom;
    if (property == m_workArea || property == m_clientList)
        changeSoon();
    return false;
}

void LinuxScreens::changeSoon()
{
    if (!m_telling.isActive())
        m_telling = m_scheduler.after(0ms, [this] { tellOfChanges(); });
}

void LinuxScreens::tellOfChanges()
{
    QList<ScreenInfo> now = screens();
    if (now == m_told)
        return;
    m_told = std::move(now);
    if (onChanged)
        onChanged();
}

} // namespace vantry
