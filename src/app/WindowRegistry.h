#pragma once

#include "platform/OverlayWindows.h"

#include <QHash>
#include <QQuickView>
#include <QString>

#include <functional>
#include <memory>
#include <unordered_map>

namespace vantry {

/// The program's ordinary windows, each opened by its id from wherever. A window is made when it is opened and goes
/// when it is closed. Main thread only.
class WindowRegistry
{
public:
    /// Makes a window that is not shown yet, with its size and title.
    using Make = std::function<std::unique_ptr<QQuickView>()>;

    /// The overlays must outlive this.
    explicit WindowRegistry(OverlayWindows &overlays);
    ~WindowRegistry();

    void declare(const QString &id, Make make);
    /// Shows the window in the middle of the screen, or brings the one that is shown forward; it gets the focus. False
    /// when no window of this id is declared.
    bool open(const QString &id);
    /// The same, but that the focus stays where it is, as far as the desktop lets it.
    bool reveal(const QString &id);
    void dismiss(const QString &id);
    /// Null while it isn't open.
    [[nodiscard]] QQuickView *window(const QString &id) const;

private:
    struct Entry
    {
        Make make;
        std::unique_ptr<QQuickView> window;
    };

    QQuickView *show(const QString &id, bool takesFocus);
    void dropClosed(const QString &id);

    OverlayWindows &m_overlays;
    QObject m_context; ///< For what is to end with this.
    std::unordered_map<QString, Entry> m_entries;
};

} // namespace vantry
