#include "platform/linux/LinuxFullScreenWatch.h"

#include "platform/linux/ToolkitX11.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSocketNotifier>

#include <xcb/shape.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace vantry {

namespace {

bool contains(const std::vector<std::uint32_t> &values, xcb_atom_t value)
{
    return std::ranges::find(values, value) != values.end();
}

/// What the window asks of window managers, in a form older than the desktop's common one: no frame around it.
bool asksForNoFrame(const std::vector<std::uint32_t> &hints)
{
    constexpr std::uint32_t tellsOfFrame = 2;
    constexpr std::size_t flags = 0;
    constexpr std::size_t frame = 2;
    return hints.size() > frame && (hints[flags] & tellsOfFrame) != 0 && hints[frame] == 0;
}

QRect frameOf(const xcb_get_geometry_reply_t &geometry)
{
    const int border = geometry.border_width;
    return { geometry.x, geometry.y, geometry.width + 2 * border, geometry.height + 2 * border };
}

} // namespace

/// The server's answers about a window of the window manager's list.
struct LinuxFullScreenWatch::Client
{
    std::vector<std::uint32_t> state {};
    std::vector<std::uint32_t> type {};
    std::vector<std::uint32_t> desktop {};
    std::vector<std::uint32_t> transientFor {};
    std::vector<std::uint32_t> hints {};
    QRect frame {}; ///< On the desktop; empty when the window has gone.
};

LinuxFullScreenWatch::LinuxFullScreenWatch(Scheduler &scheduler)
    : m_scheduler(scheduler)
{
    if (!toolkitX11::connection())
        return;
    m_connection.reset(xcb_connect(nullptr, nullptr));
    if (xcb_connection_has_error(m_connection.get()) != 0) {
        m_connection.reset();
        return;
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    makeAtoms();
    const xcb_query_extension_reply_t *shape = xcb_get_extension_data(m_connection.get(), &xcb_shape_id);
    m_shapeEvent = shape && shape->present ? shape->first_event : std::uint8_t { 0 };
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection.get(), m_root, XCB_CW_EVENT_MASK, &events);
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection.get()), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &LinuxFullScreenWatch::readEvents);

    const auto screens = QGuiApplication::screens();
    std::ranges::for_each(screens, [this](const QScreen *screen) { watchScreen(screen); });
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](const QScreen *screen) {
        watchScreen(screen);
        refreshSoon();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &LinuxFullScreenWatch::refreshSoon);
    refresh();
}

LinuxFullScreenWatch::~LinuxFullScreenWatch() = default;

void LinuxFullScreenWatch::makeAtoms()
{
    constexpr std::array<std::string_view, AtomCount> names { "_NET_CLIENT_LIST_STACKING",
                                                              "_NET_ACTIVE_WINDOW",
                                                              "_NET_CURRENT_DESKTOP",
                                                              "_NET_WM_DESKTOP",
                                                              "_NET_WM_STATE",
                                                              "_NET_WM_STATE_HIDDEN",
                                                              "_NET_WM_STATE_FULLSCREEN",
                                                              "_NET_WM_STATE_ABOVE",
                                                              "_NET_WM_STATE_MAXIMIZED_HORZ",
                                                              "_NET_WM_STATE_MAXIMIZED_VERT",
                                                              "_NET_WM_WINDOW_TYPE",
                                                              "_NET_WM_WINDOW_TYPE_NORMAL",
                                                              "_MOTIF_WM_HINTS",
                                                              "WM_STATE" };
    std::array<xcb_intern_atom_cookie_t, AtomCount> cookies {};
    std::ranges::transform(names, cookies.begin(), [this](std::string_view name) {
        return xcb_intern_atom(m_connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    });
    std::ranges::transform(cookies, m_atoms.begin(), [this](xcb_intern_atom_cookie_t cookie) {
        const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection.get(), cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
    });
}

void LinuxFullScreenWatch::watchScreen(const QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &LinuxFullScreenWatch::refreshSoon);
}

void LinuxFullScreenWatch::readEvents()
{
    bool isOfInterest = false;
    while (true) {
        const X11Reply<xcb_generic_event_t> event(xcb_poll_for_event(m_connection.get()));
        if (!event)
            break;
        isOfInterest = this->isOfInterest(*event) || isOfInterest;
    }
    if (xcb_connection_has_error(m_connection.get()) != 0)
        m_notifier->setEnabled(false); // The toolkit's connection has ended, too, and with it the program.
    else if (isOfInterest)
        refreshSoon();
}

bool LinuxFullScreenWatch::isOfInterest(const xcb_generic_event_t &event)
{
    if (m_shapeEvent != 0 && toolkitX11::kindOf(event) == m_shapeEvent)
        return true;
    switch (toolkitX11::kindOf(event)) {
    case XCB_PROPERTY_NOTIFY: {
        const auto &change = reinterpret_cast<const xcb_property_notify_event_t &>(event);
        static constexpr std::array ofRoot { ClientListStacking, ActiveWindow, CurrentDesktop };
        static constexpr std::array ofClient { WindowDesktop, State, WindowType, MotifHints };
        const auto isChanged = [&](AtomIndex index) { return atom(index) == change.atom; };
        return change.window == m_root ? std::ranges::any_of(ofRoot, isChanged)
                                       : std::ranges::any_of(ofClient, isChanged);
    }
    case XCB_DESTROY_NOTIFY:
        m_watched.erase(reinterpret_cast<const xcb_destroy_notify_event_t &>(event).window);
        return true;
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_REPARENT_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
        return true;
    default:
        return false; // Also the errors about windows that have gone.
    }
}

void LinuxFullScreenWatch::refreshSoon()
{
    if (!m_refresh.isActive())
        m_refresh = m_scheduler.after(settling, [this] { refresh(); });
}

void LinuxFullScreenWatch::refresh()
{
    const QList<StackedWindow> windows = unmanagedWindows() + clients();
    QSet<QString> covered;
    const auto screens = QGuiApplication::screens();
    for (const QScreen *screen : screens) {
        if (isCoveredInFront(toolkitX11::pixelsOf(*screen), windows))
            covered.insert(screen->name());
    }
    const bool hasChanged = std::exchange(m_covered, covered) != covered;
    // What came with the answers is no news for the socket.
    readEvents();
    if (hasChanged && onChanged)
        onChanged();
}

xcb_get_property_cookie_t LinuxFullScreenWatch::ask(xcb_window_t window, xcb_atom_t property) const
{
    constexpr std::uint32_t most = 16'384;
    return xcb_get_property(m_connection.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, most);
}

/// None where the property is absent or of another form, or the window has gone.
std::vector<std::uint32_t> LinuxFullScreenWatch::values(xcb_get_property_cookie_t cookie) const
{
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection.get(), cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto *first = static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get()));
    return { first, first + reply->value_len };
}

/// The windows that the window manager lists and shows on this virtual desktop, the topmost first.
QList<StackedWindow> LinuxFullScreenWatch::clients()
{
    constexpr std::uint32_t allDesktops = 0xffffffff;
    constexpr std::size_t asked = 5;
    xcb_connection_t *server = m_connection.get();
    const auto desktopCookie = ask(m_root, atom(CurrentDesktop));
    std::vector<xcb_window_t> windows = values(ask(m_root, atom(ClientListStacking)));
    std::ranges::reverse(windows);
    const std::vector<std::uint32_t> desktop = values(desktopCookie);
    watch(windows);

    // All questions first, then all answers: one round trip.
    std::vector<std::array<xcb_get_property_cookie_t, asked>> properties;
    std::vector<xcb_get_geometry_cookie_t> sizes;
    std::vector<xcb_translate_coordinates_cookie_t> places;
    for (const xcb_window_t window : windows) {
        properties.push_back({ ask(window, atom(State)), ask(window, atom(WindowType)),
                               ask(window, atom(WindowDesktop)), ask(window, XCB_ATOM_WM_TRANSIENT_FOR),
                               ask(window, atom(MotifHints)) });
        sizes.push_back(xcb_get_geometry(server, window));
        places.push_back(xcb_translate_coordinates(server, window, m_root, 0, 0));
    }
    QList<StackedWindow> list;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        Client client { values(properties[index][0]), values(properties[index][1]), values(properties[index][2]),
                        values(properties[index][3]), values(properties[index][4]) };
        const X11Reply<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(server, sizes[index], nullptr));
        const X11Reply<xcb_translate_coordinates_reply_t> place(
            xcb_translate_coordinates_reply(server, places[index], nullptr));
        if (size && place)
            client.frame = QRect(place->dst_x, place->dst_y, size->width, size->height);
        const bool isElsewhere = !desktop.empty() && !client.desktop.empty() && client.desktop != desktop &&
                                 client.desktop.front() != allDesktops;
        if (!client.frame.isEmpty() && !isElsewhere && !contains(client.state, atom(StateHidden)))
            list.append(stacked(client));
    }
    return list;
}

void LinuxFullScreenWatch::watch(const std::vector<xcb_window_t> &clients)
{
    constexpr std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    for (const xcb_window_t client : clients) {
        if (m_watched.insert(client).second)
            xcb_change_window_attributes(m_connection.get(), client, XCB_CW_EVENT_MASK, &events);
    }
    // Numbers of windows that have gone come again.
    if (m_watched.size() > clients.size())
        m_watched = { clients.begin(), clients.end() };
}

StackedWindow LinuxFullScreenWatch::stacked(const Client &client) const
{
    const bool isMaximized =
        contains(client.state, atom(StateMaximizedAcross)) && contains(client.state, atom(StateMaximizedUp));
    const bool isNormal = client.type.empty() || contains(client.type, atom(TypeNormal));
    const bool isTransient = !client.transientFor.empty() && client.transientFor.front() != XCB_NONE;
    return { .frame = client.frame,
             .isFullScreen = contains(client.state, atom(StateFullScreen)),
             .isBare = isNormal && !isMaximized && asksForNoFrame(client.hints),
             .isBeside = !isNormal || isTransient || contains(client.state, atom(StateAbove)) };
}

/// Windows that the window manager knows nothing of, and that cover a screen. They are above those that it knows.
QList<StackedWindow> LinuxFullScreenWatch::unmanagedWindows() const
{
    xcb_connection_t *server = m_connection.get();
    const X11Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(server, xcb_query_tree(server, m_root), nullptr));
    if (!tree)
        return {};
    const xcb_window_t *first = xcb_query_tree_children(tree.get());
    const std::vector<xcb_window_t> windows(first, first + xcb_query_tree_children_length(tree.get()));
    std::vector<xcb_get_geometry_cookie_t> sizes;
    std::vector<xcb_get_window_attributes_cookie_t> attributes;
    for (const xcb_window_t window : windows) {
        sizes.push_back(xcb_get_geometry(server, window));
        attributes.push_back(xcb_get_window_attributes(server, window));
    }
    const auto screens = QGuiApplication::screens();
    QList<StackedWindow> list;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        const X11Reply<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(server, sizes[index], nullptr));
        const X11Reply<xcb_get_window_attributes_reply_t> attribute(
            xcb_get_window_attributes_reply(server, attributes[index], nullptr));
        if (!size || !attribute || attribute->map_state != XCB_MAP_STATE_VIEWABLE ||
            attribute->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
            continue;
        const QRect frame = frameOf(*size);
        const bool isLarge = std::ranges::any_of(
            screens, [&](const QScreen *screen) { return frame.contains(toolkitX11::pixelsOf(*screen)); });
        if (isLarge && isUnmanagedProgram(windows[index]) && takesInput(windows[index]))
            list.append({ .frame = frame, .isBare = true, .isBeside = true });
    }
    return list;
}

/// Neither a window that a window manager has in its list, nor a frame of its around one, nor a part of the desktop.
bool LinuxFullScreenWatch::isUnmanagedProgram(xcb_window_t window, int depth) const
{
    const auto typeCookie = ask(window, atom(WindowType));
    if (!values(ask(window, atom(ClassicState))).empty())
        return false;
    const std::vector<std::uint32_t> type = values(typeCookie);
    if (!type.empty() && !contains(type, atom(TypeNormal)))
        return false;
    if (depth == 0)
        return true;
    const X11Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(m_connection.get(), xcb_query_tree(m_connection.get(), window), nullptr));
    if (!tree)
        return false;
    const xcb_window_t *first = xcb_query_tree_children(tree.get());
    return std::all_of(first, first + xcb_query_tree_children_length(tree.get()),
                       [&](xcb_window_t child) { return isUnmanagedProgram(child, depth - 1); });
}

/// A compositor draws into a window over everything, through which all input goes; it may say so only a moment later.
bool LinuxFullScreenWatch::takesInput(xcb_window_t window) const
{
    xcb_shape_select_input(m_connection.get(), window, 1);
    const auto cookie = xcb_shape_get_rectangles(m_connection.get(), window, XCB_SHAPE_SK_INPUT);
    const X11Reply<xcb_shape_get_rectangles_reply_t> reply(
        xcb_shape_get_rectangles_reply(m_connection.get(), cookie, nullptr));
    return reply && xcb_shape_get_rectangles_rectangles_length(reply.get()) > 0;
}

} // namespace vantry
