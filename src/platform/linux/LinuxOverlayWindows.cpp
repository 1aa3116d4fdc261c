#include "platform/linux/LinuxOverlayWindows.h"

#include "platform/linux/ToolkitX11.h"
#include "platform/linux/WindowStrut.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <xcb/shape.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

namespace vantry {

namespace {

void setAtoms(xcb_connection_t *server, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
              std::initializer_list<std::uint32_t> values)
{
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.begin());
}

/// Acts once when its window is on the screen: before, the window manager doesn't know it.
class WhenExposed final : public QObject
{
public:
    WhenExposed(QWindow &window, std::function<void()> action)
        : QObject(&window)
        , m_window(window)
        , m_action(std::move(action))
    {
        window.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Expose && m_window.isExposed()) {
            m_window.removeEventFilter(this);
            deleteLater();
            m_action();
        }
        return false;
    }

private:
    QWindow &m_window;
    std::function<void()> m_action;
};

xcb_get_property_cookie_t askForValues(xcb_connection_t *server, xcb_window_t window, xcb_atom_t property)
{
    constexpr std::uint32_t most = 4'096;
    return xcb_get_property(server, 0, window, property, XCB_ATOM_ANY, 0, most);
}

/// The 32-bit numbers that were asked for; none where the property is absent or of another form.
std::vector<std::uint32_t> values(xcb_connection_t *server, xcb_get_property_cookie_t cookie)
{
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(server, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto *first = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    return { first, first + reply->value_len };
}

/// The rectangles in the server's pixels; those that lie side by side still do.
std::vector<xcb_rectangle_t> inPixels(const QRegion &area, double scale)
{
    static constexpr double most = std::numeric_limits<std::int16_t>::max();
    const auto pixels = [scale](int length) {
        return static_cast<int>(std::clamp(std::round(length * scale), -most, most));
    };
    std::vector<xcb_rectangle_t> rectangles;
    rectangles.reserve(static_cast<std::size_t>(area.rectCount()));
    for (const QRect &rectangle : area) {
        const int left = pixels(rectangle.x());
        const int top = pixels(rectangle.y());
        const int width = pixels(rectangle.x() + rectangle.width()) - left;
        const int height = pixels(rectangle.y() + rectangle.height()) - top;
        rectangles.push_back(xcb_rectangle_t { static_cast<std::int16_t>(left), static_cast<std::int16_t>(top),
                                               static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height) });
    }
    return rectangles;
}

/// The number of the extension's first event; 0 without the extension.
std::uint8_t firstEventOf(xcb_connection_t *server, std::string_view extension)
{
    const auto cookie = xcb_query_extension(server, static_cast<std::uint16_t>(extension.size()), extension.data());
    const X11Reply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(server, cookie, nullptr));
    return reply && reply->present ? reply->first_event : std::uint8_t { 0 };
}

/// Has the server tell of the window's input area as if it had changed.
void announceInputArea(QWindow &window)
{
    xcb_connection_t *server = toolkitX11::connection();
    const auto id = static_cast<xcb_window_t>(window.winId());
    xcb_shape_combine(server, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_SHAPE_SK_INPUT, id, 0, 0, id);
    xcb_flush(server);
}

} // namespace

LinuxOverlayWindows::LinuxOverlayWindows()
{
    xcb_connection_t *server = toolkitX11::connection();
    if (!server)
        return;
    m_root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
    m_activeWindow = toolkitX11::atom("_NET_ACTIVE_WINDOW");
    m_managerCheck = toolkitX11::atom("_NET_SUPPORTING_WM_CHECK");
    m_compositor = toolkitX11::atom("_NET_WM_CM_S0");
    m_desktop = toolkitX11::atom("_NET_WM_DESKTOP");
    m_state = toolkitX11::atom("_NET_WM_STATE");
    m_skipTaskbar = toolkitX11::atom("_NET_WM_STATE_SKIP_TASKBAR");
    m_skipPager = toolkitX11::atom("_NET_WM_STATE_SKIP_PAGER");
    m_clientList = toolkitX11::atom("_NET_CLIENT_LIST");
    m_strut = toolkitX11::atom("_NET_WM_STRUT_PARTIAL");
    m_hadCompositor = hasCompositor();
    // The toolkit asks to be told of the compositor, for itself.
    m_selectionEvent = firstEventOf(server, "XFIXES");
    if (m_selectionEvent != 0)
        qGuiApp->installNativeEventFilter(this);
}

LinuxOverlayWindows::~LinuxOverlayWindows()
{
    if (m_selectionEvent != 0)
        qGuiApp->removeNativeEventFilter(this);
}

bool LinuxOverlayWindows::canPlace() const
{
    return m_root != XCB_NONE;
}

bool LinuxOverlayWindows::hasCompositor() const
{
    // It may come and go at any time. A Wayland desktop composes always, and its X server says so here, too.
    return toolkitX11::ownerOf(m_compositor) != XCB_NONE;
}

bool LinuxOverlayWindows::seesPointer() const
{
    return canPlace() && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

QRect LinuxOverlayWindows::availableArea(const QScreen &screen) const
{
    // Where there are several screens, the toolkit takes all of each for available.
    xcb_connection_t *server = toolkitX11::connection();
    if (!server)
        return screen.availableGeometry();
    const auto rootCookie = xcb_get_geometry(server, m_root);
    const std::vector<std::uint32_t> clients = values(server, askForValues(server, m_root, m_clientList));
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(clients.size());
    for (const xcb_window_t client : clients)
        cookies.push_back(askForValues(server, client, m_strut));
    const X11Reply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(server, rootCookie, nullptr));
    QList<WindowStrut> struts;
    for (const xcb_get_property_cookie_t cookie : cookies) {
        WindowStrut strut {};
        const std::vector<std::uint32_t> numbers = values(server, cookie);
        if (numbers.size() != strut.size())
            continue;
        std::ranges::copy(numbers, strut.begin());
        struts.append(strut);
    }
    if (!root)
        return screen.availableGeometry();

    const double scale = screen.devicePixelRatio();
    const QPoint origin = screen.geometry().topLeft();
    const QRect rest = areaWithoutStruts(toolkitX11::pixelsOf(screen), struts, QSize(root->width, root->height));
    const QRect available(origin + (rest.topLeft() - origin) / scale, (QSizeF(rest.size()) / scale).toSize());
    return available.intersected(screen.availableGeometry());
}

std::optional<OverlayWindows::WindowID> LinuxOverlayWindows::activeWindow() const
{
    xcb_connection_t *server = toolkitX11::connection();
    if (!server)
        return std::nullopt;
    xcb_window_t window = XCB_NONE;
    if (hasWindowManager()) {
        const std::vector<std::uint32_t> active = values(server, askForValues(server, m_root, m_activeWindow));
        window = active.size() == 1 ? active.front() : XCB_NONE;
    } else {
        const X11Reply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(server, xcb_get_input_focus(server), nullptr));
        window = reply && reply->focus != XCB_INPUT_FOCUS_POINTER_ROOT ? reply->focus : XCB_NONE;
    }
    return window == XCB_NONE ? std::nullopt : std::optional<WindowID>(window);
}

bool LinuxOverlayWindows::hasWindowManager() const
{
    // What one left behind when it crashed stays on the root window, but its own window is gone.
    xcb_connection_t *server = toolkitX11::connection();
    const std::vector<std::uint32_t> check = values(server, askForValues(server, m_root, m_managerCheck));
    return check.size() == 1 && values(server, askForValues(server, check.front(), m_managerCheck)) == check;
}

void LinuxOverlayWindows::setUpOverlay(QWindow &window)
{
    constexpr std::uint32_t allDesktops = std::numeric_limits<std::uint32_t>::max();
    xcb_connection_t *server = toolkitX11::connection();
    if (!server)
        return;
    const auto id = static_cast<xcb_window_t>(window.winId());
    // The toolkit adds its own states to these when it shows the window.
    setAtoms(server, id, m_state, XCB_ATOM_ATOM, { m_skipTaskbar, m_skipPager });
    setAtoms(server, id, m_desktop, XCB_ATOM_CARDINAL, { allDesktops });
}

void LinuxOverlayWindows::setInputArea(QWindow &window, const QRegion &area)
{
    if (!canPlace())
        return;
    const auto [entry, isNew] = m_inputAreas.insert_or_assign(&window, area);
    if (isNew)
        QObject::connect(&window, &QObject::destroyed, &m_context, [this, &window] { m_inputAreas.erase(&window); });
    applyInputArea(window, area);
    // Some window managers put a frame around the window, and take over for it only areas that they see change.
    if (!window.isExposed())
        new WhenExposed(window, [&window] { announceInputArea(window); });
}

void LinuxOverlayWindows::applyInputArea(QWindow &window, const QRegion &area) const
{
    xcb_connection_t *server = toolkitX11::connection();
    const auto id = static_cast<xcb_window_t>(window.winId());
    const std::vector<xcb_rectangle_t> rectangles = inPixels(area, window.devicePixelRatio());
    const auto setShape = [&](xcb_shape_kind_t kind) {
        xcb_shape_rectangles(server, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, id, 0, 0,
                             static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
    };
    setShape(XCB_SHAPE_SK_INPUT);
    // Without a compositor, what is transparent would be black.
    if (hasCompositor())
        xcb_shape_mask(server, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, id, 0, 0, XCB_NONE);
    else
        setShape(XCB_SHAPE_SK_BOUNDING);
    xcb_flush(server);
}

bool LinuxOverlayWindows::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType == "xcb_generic_event_t" &&
        toolkitX11::kindOf(*static_cast<const xcb_generic_event_t *>(message)) == m_selectionEvent)
        // Not within the toolkit's reading of events.
        QMetaObject::invokeMethod(
            &m_context, [this] { selectionOwnerChanged(); }, Qt::QueuedConnection);
    return false;
}

void LinuxOverlayWindows::selectionOwnerChanged()
{
    const bool isThere = hasCompositor();
    if (std::exchange(m_hadCompositor, isThere) == isThere)
        return;
    for (const auto &[window, area] : m_inputAreas) {
        if (window->handle())
            applyInputArea(*window, area);
    }
}

void LinuxOverlayWindows::takeFocus(QWindow &window)
{
    const auto take = [this, &window] {
        // Enough where no window manager knows the other way, or where it doesn't know the window.
        window.requestActivate();
        if (!(window.flags() & Qt::X11BypassWindowManagerHint))
            giveFocus(window.winId());
    };
    if (window.isExposed())
        take();
    else
        new WhenExposed(window, take);
}

void LinuxOverlayWindows::giveFocus(WindowID window)
{
    // As a pager asks: what comes from an application is refused unless it was used last.
    constexpr std::uint32_t fromPager = 2;
    xcb_connection_t *server = toolkitX11::connection();
    if (!server)
        return;
    const auto id = static_cast<xcb_window_t>(window);
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = id;
    event.type = m_activeWindow;
    event.data.data32[0] = fromPager;
    event.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(server, 0, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&event));
    if (!hasWindowManager()) {
        // Answered here: the toolkit would tell of the error for a window that has gone.
        const X11Reply<xcb_generic_error_t> error(xcb_request_check(
            server, xcb_set_input_focus_checked(server, XCB_INPUT_FOCUS_POINTER_ROOT, id, XCB_CURRENT_TIME)));
    }
    xcb_flush(server);
}

} // namespace vantry
