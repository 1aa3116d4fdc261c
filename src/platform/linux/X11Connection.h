#pragma once

#include "base/Cancellation.h"

#include <QByteArray>

#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <thread>

namespace vantry {

/// A connection to the X server for one operation. After its time, or when the thread's work is cancelled, it is cut,
/// and all that waits on it fails: a server that hangs holds nobody up. One thread at a time.
class X11Connection
{
public:
    static constexpr std::chrono::milliseconds timeLimit { 2'000 };

    /// To the display that DISPLAY names, if it is on this machine. Null without one, or when the server refuses.
    [[nodiscard]] static std::unique_ptr<X11Connection> open();
    ~X11Connection();
    X11Connection(const X11Connection &) = delete;
    X11Connection &operator=(const X11Connection &) = delete;

    [[nodiscard]] xcb_connection_t *get() const { return m_connection; }
    [[nodiscard]] xcb_window_t root() const { return m_root; }
    /// Waits until the server has carried out what was asked for. False when the connection was lost.
    [[nodiscard]] bool synchronize() const;

private:
    explicit X11Connection(int socket);
    void watch(int socket, const Cancellation *cancellation) const;

    xcb_connection_t *m_connection { nullptr };
    xcb_window_t m_root { XCB_NONE };
    Cancellation m_end;
    std::thread m_watch; ///< Cuts the connection; nothing else could end a wait inside the library.
};

/// Frees what the library has allocated.
struct FreeX11Memory
{
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T>
using X11Reply = std::unique_ptr<T, FreeX11Memory>;

/// The cookie for a display of this machine, from the text of an Xauthority file. Nothing when it holds none, or is of
/// another form up to there.
[[nodiscard]] std::optional<QByteArray> x11CookieFor(std::string_view authorityFile, std::string_view hostName,
                                                     int displayNumber);

} // namespace vantry
