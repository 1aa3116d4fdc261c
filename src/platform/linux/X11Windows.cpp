#include "platform/linux/X11Windows.h"

#include <QSysInfo>

#include <algorithm>
#include <string_view>

namespace vantry {
namespace {

/// The most that is read of a property, in 32-bit units: 16,000 windows.
constexpr std::uint32_t longestProperty = 16'384;

xcb_get_property_cookie_t request(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property)
{
    return xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longestProperty);
}

/// Null when the window is gone.
X11Reply<xcb_get_property_reply_t> take(xcb_connection_t *connection, xcb_get_property_cookie_t cookie)
{
    return X11Reply<xcb_get_property_reply_t>(xcb_get_property_reply(connection, cookie, nullptr));
}

QList<std::uint32_t> valuesOf(const xcb_get_property_reply_t *reply)
{
    if (!reply || reply->format != 32)
        return {};
    const auto *values = static_cast<const std::uint32_t *>(xcb_get_property_value(reply));
    return QList<std::uint32_t>(values, values + reply->value_len);
}

std::string_view textOf(const xcb_get_property_reply_t *reply)
{
    if (!reply || reply->format != 8)
        return {};
    return { static_cast<const char *>(xcb_get_property_value(reply)),
             static_cast<std::size_t>(xcb_get_property_value_length(reply)) };
}

/// The second of two texts, each with a zero byte behind it.
QString classIn(std::string_view text)
{
    const std::size_t first = text.find('\0');
    if (first == std::string_view::npos)
        return {};
    text.remove_prefix(first + 1);
    text = text.substr(0, text.find('\0'));
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

/// Process identifiers of another machine, or of a container with a name of its own, mean other processes here.
bool isThisMachine(std::string_view name)
{
    name = name.substr(0, name.find('\0'));
    return name.empty() || QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()))
                                   .compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

} // namespace

X11Windows::X11Windows(X11Connection &connection)
    : m_connection(connection)
{
    constexpr std::array<std::string_view, AtomCount> names { "_NET_SUPPORTED",
                                                              "_NET_SUPPORTING_WM_CHECK",
                                                              "_NET_CLIENT_LIST",
                                                              "_NET_CLIENT_LIST_STACKING",
                                                              "_NET_ACTIVE_WINDOW",
                                                              "_NET_CURRENT_DESKTOP",
                                                              "_NET_WM_DESKTOP",
                                                              "_NET_WM_PID",
                                                              "_NET_WM_STATE",
                                                              "_NET_WM_STATE_HIDDEN",
                                                              "_NET_WM_WINDOW_TYPE",
                                                              "_NET_WM_WINDOW_TYPE_DOCK",
                                                              "_NET_WM_WINDOW_TYPE_DESKTOP",
                                                              "WM_STATE" };
    std::array<xcb_intern_atom_cookie_t, AtomCount> cookies {};
    for (std::size_t index = 0; index < AtomCount; ++index)
        cookies[index] = xcb_intern_atom(m_connection.get(), 1, static_cast<std::uint16_t>(names[index].size()),
                                         names[index].data());
    for (std::size_t index = 0; index < AtomCount; ++index) {
        const X11Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(m_connection.get(), cookies[index], nullptr));
        m_atoms[index] = reply ? reply->atom : xcb_atom_t { XCB_ATOM_NONE };
    }
    m_hasManager = hasManager();
}

bool X11Windows::hasManager() const
{
    // What a window manager left behind when it crashed stays on the root window, but its own window is gone.
    const auto check = values(m_connection.root(), atom(SupportingCheck));
    return !check.isEmpty() && values(check.first(), atom(SupportingCheck)) == check &&
           values(m_connection.root(), atom(Supported)).contains(atom(ActiveWindow));
}

QList<X11Windows::Client> X11Windows::clients() const
{
    constexpr std::size_t asked = 5;
    xcb_connection_t *connection = m_connection.get();
    const QList<xcb_window_t> windows = clientWindows();
    // All questions first, then all answers: one round trip.
    QList<std::array<xcb_get_property_cookie_t, asked>> cookies;
    cookies.reserve(windows.size());
    for (const xcb_window_t window : windows)
        cookies.append({ request(connection, window, XCB_ATOM_WM_CLASS),
                         request(connection, window, XCB_ATOM_WM_CLIENT_MACHINE),
                         request(connection, window, atom(ProcessId)), request(connection, window, atom(State)),
                         request(connection, window, atom(WindowType)) });

    QList<Client> clients;
    clients.reserve(windows.size());
    for (qsizetype index = 0; index < windows.size(); ++index) {
        std::array<X11Reply<xcb_get_property_reply_t>, asked> replies;
        std::ranges::transform(cookies[index], replies.begin(),
                               [&](const auto &cookie) { return take(connection, cookie); });
        Client client;
        client.window = windows[index];
        client.windowClass = classIn(textOf(replies[0].get()));
        const auto pid = valuesOf(replies[2].get());
        if (!pid.isEmpty() && isThisMachine(textOf(replies[1].get())))
            client.pid = pid.first();
        client.isHidden = valuesOf(replies[3].get()).contains(atom(StateHidden));
        const auto types = valuesOf(replies[4].get());
        client.isDesktopPart = types.contains(atom(TypeDock)) || types.contains(atom(TypeDesktop));
        clients.append(client);
    }
    return clients;
}

QList<xcb_window_t> X11Windows::clientWindows() const
{
    if (!m_hasManager)
        return unmanagedWindows();
    const auto stacked = values(m_connection.root(), atom(ClientListStacking));
    return stacked.isEmpty() ? values(m_connection.root(), atom(ClientList)) : stacked;
}

QList<xcb_window_t> X11Windows::unmanagedWindows() const
{
    constexpr int deepestFrame = 3;
    QList<xcb_window_t> windows;
    const QList<xcb_window_t> topLevel = children(m_connection.root());
    for (const xcb_window_t window : topLevel) {
        if (const auto framed = withState(window, deepestFrame))
            windows.append(*framed);
        else if (isShownProgram(window))
            windows.append(window);
    }
    return windows;
}

/// The window that any window manager has marked as a program's, this one or one inside.
std::optional<xcb_window_t> X11Windows::withState(xcb_window_t window, int depth) const
{
    if (atom(ClassicState) == XCB_ATOM_NONE)
        return std::nullopt;
    constexpr std::uint32_t withdrawn = 0;
    const auto state = values(window, atom(ClassicState));
    if (!state.isEmpty())
        return state.first() == withdrawn ? std::nullopt : std::optional(window);
    if (depth == 0)
        return std::nullopt;
    const QList<xcb_window_t> inside = children(window);
    for (const xcb_window_t child : inside) {
        if (const auto found = withState(child, depth - 1))
            return found;
    }
    return std::nullopt;
}

/// Without any window manager: a window that is there, has a class and is no menu or tooltip.
bool X11Windows::isShownProgram(xcb_window_t window) const
{
    xcb_connection_t *connection = m_connection.get();
    const auto classCookie = request(connection, window, XCB_ATOM_WM_CLASS);
    const X11Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, window), nullptr));
    const auto windowClass = take(connection, classCookie);
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE && attributes->override_redirect == 0 &&
           !textOf(windowClass.get()).empty();
}

QList<xcb_window_t> X11Windows::children(xcb_window_t window) const
{
    const X11Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(m_connection.get(), xcb_query_tree(m_connection.get(), window), nullptr));
    if (!tree)
        return {};
    const xcb_window_t *first = xcb_query_tree_children(tree.get());
    return QList<xcb_window_t>(first, first + xcb_query_tree_children_length(tree.get()));
}

std::optional<xcb_window_t> X11Windows::clientAround(xcb_window_t window) const
{
    const QList<xcb_window_t> clients = clientWindows();
    // Deeper than any tree of windows, should one change while it is climbed.
    constexpr int highestClimb = 64;
    for (int step = 0; step < highestClimb && window != XCB_NONE; ++step) {
        if (clients.contains(window))
            return window;
        const X11Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_connection.get(), xcb_query_tree(m_connection.get(), window), nullptr));
        window = tree ? tree->parent : XCB_NONE;
    }
    return std::nullopt;
}

bool X11Windows::bringForward(xcb_window_t client, xcb_timestamp_t userTime) const
{
    xcb_connection_t *connection = m_connection.get();
    if (m_hasManager) {
        // As a pager does it: a window manager takes it for the user's own wish, and may not refuse the focus.
        constexpr std::uint32_t sourcePager = 2;
        goToDesktopOf(client);
        send(client, atom(ActiveWindow), sourcePager, userTime);
    } else {
        constexpr std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_map_window(connection, client);
        xcb_configure_window(connection, client, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_set_input_focus(connection, XCB_INPUT_FOCUS_POINTER_ROOT, client, XCB_CURRENT_TIME);
    }
    return m_connection.synchronize();
}

/// Not every window manager goes there by itself for a window that is to be the active one.
void X11Windows::goToDesktopOf(xcb_window_t client) const
{
    constexpr std::uint32_t allDesktops = 0xffffffff;
    const auto current = values(m_connection.root(), atom(CurrentDesktop));
    const auto wanted = values(client, atom(WindowDesktop));
    if (!current.isEmpty() && !wanted.isEmpty() && wanted != current && wanted.first() != allDesktops)
        send(m_connection.root(), atom(CurrentDesktop), wanted.first());
}

void X11Windows::send(xcb_window_t window, xcb_atom_t message, std::uint32_t first, std::uint32_t second) const
{
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = message;
    event.data.data32[0] = first;
    event.data.data32[1] = second;
    xcb_send_event(m_connection.get(), 0, m_connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char *>(&event));
}

QList<std::uint32_t> X11Windows::values(xcb_window_t window, xcb_atom_t property) const
{
    return property == XCB_ATOM_NONE
               ? QList<std::uint32_t>()
               : valuesOf(take(m_connection.get(), request(m_connection.get(), window, property)).get());
}

} // namespace vantry
