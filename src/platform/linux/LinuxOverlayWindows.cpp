#include "platform/linux/LinuxOverlayWindows.h"

#include "platform/linux/ToolkitX11.h"
#include "platform/linux/WindowStrut.h"

#include <QEvent>
#include <QScreen>
#include <QWindow>

#include <xcb/shape.h>

#include <algorithm>
#include <functional>
#include <limits>
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
    m_compositor = toolkitX11::atom("_NET_WM_CM_S0");
    m_desktop = toolkitX11::atom("_NET_WM_DESKTOP");
    m_state = toolkitX11::atom("_NET_WM_STATE");
    m_skipTaskbar = toolkitX11::atom("_NET_WM_STATE_SKIP_TASKBAR");
    m_skipPager = toolkitX11::atom("_NET_WM_STATE_SKIP_PAGER");
    m_clientList = toolkitX11::atom("_NET_CLIENT_LIST");
    m_strut = toolkitX11::atom("_NET_WM_STRUT_PARTIAL");
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

    // The toolkit scales what is on a screen, not where that begins.
    const double scale = screen.devicePixelRatio();
    const QPoint origin = screen.geometry().topLeft();
    const QRect pixels(origin, (QSizeF(screen.size()) * scale).toSize());
    const QRect rest = areaWithoutStruts(pixels, struts, QSize(root->width, root->height));
    const QRect available(origin + (rest.topLeft() - origin) / scale, (QSizeF(rest.size()) / scale).toSize());
    return available.intersected(screen.availableGeometry());
}

std::optional<OverlayWindows::WindowID> LinuxOverlayWindows::activeWindow() const
{
    xcb_connection_t *server = toolkitX11::connection();
    if (!server)
        return std::nullopt;
    const auto cookie = xcb_get_property(server, 0, m_root, m_activeWindow, XCB_ATOM_WINDOW, 0, 1);
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(server, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len != 1)
        return std::nullopt;
    const auto window = *static_cast<const xcb_window_t *>(xcb_get_property_value(reply.get()));
    return window == XCB_NONE ? std::nullopt : std::optional<WindowID>(window);
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

void LinuxOverlayWindows::setInputArea(QWindow &window, const QRect &area)
{
    xcb_connection_t *server = toolkitX11::connection();
    if (!server)
        return;
    const double scale = window.devicePixelRatio();
    const auto pixels = [scale](int length) { return qRound(length * scale); };
    const xcb_rectangle_t rectangle { static_cast<std::int16_t>(pixels(area.x())),
                                      static_cast<std::int16_t>(pixels(area.y())),
                                      static_cast<std::uint16_t>(pixels(area.width())),
                                      static_cast<std::uint16_t>(pixels(area.height())) };
    xcb_shape_rectangles(server, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         static_cast<xcb_window_t>(window.winId()), 0, 0, 1, &rectangle);
    xcb_flush(server);
    // Some window managers put a frame around the window, and take over for it only areas that they see change.
    if (!window.isExposed())
        new WhenExposed(window, [&window] { announceInputArea(window); });
}

void LinuxOverlayWindows::takeFocus(QWindow &window)
{
    const auto take = [this, &window] {
        // Enough where no window manager knows the other way.
        window.requestActivate();
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
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = static_cast<xcb_window_t>(window);
    event.type = m_activeWindow;
    event.data.data32[0] = fromPager;
    event.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(server, 0, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&event));
    xcb_flush(server);
}

} // namespace vantry
