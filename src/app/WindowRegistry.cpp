#include "app/WindowRegistry.h"

#include <QScreen>

namespace vantry {

WindowRegistry::WindowRegistry(OverlayWindows &overlays)
    : m_overlays(overlays)
{}

WindowRegistry::~WindowRegistry() = default;

void WindowRegistry::declare(const QString &id, Make make)
{
    m_entries[id].make = std::move(make);
}

bool WindowRegistry::open(const QString &id)
{
    QQuickView *shown = show(id, true);
    if (shown)
        m_overlays.takeFocus(*shown);
    return shown != nullptr;
}

bool WindowRegistry::reveal(const QString &id)
{
    return show(id, false) != nullptr;
}

QQuickView *WindowRegistry::show(const QString &id, bool takesFocus)
{
    const auto found = m_entries.find(id);
    if (found == m_entries.end())
        return nullptr;
    auto &[make, window] = found->second;
    if (!window) {
        window = make();
        QRect place = window->geometry();
        place.moveCenter(window->screen()->availableGeometry().center());
        window->setGeometry(place);
        // It tells of its closing itself, so it goes a little later; it may have been opened again by then.
        QObject::connect(
            window.get(), &QWindow::visibleChanged, &m_context, [this, id] { dropClosed(id); }, Qt::QueuedConnection);
    }
    // The toolkit's, which widgets have as WA_ShowWithoutActivating.
    window->setProperty("_q_showWithoutActivating", !takesFocus);
    window->show();
    window->raise();
    return window.get();
}

void WindowRegistry::dismiss(const QString &id)
{
    if (QQuickView *shown = window(id))
        shown->hide();
}

void WindowRegistry::dropClosed(const QString &id)
{
    const auto found = m_entries.find(id);
    if (found != m_entries.end() && found->second.window && !found->second.window->isVisible())
        found->second.window.reset();
}

QQuickView *WindowRegistry::window(const QString &id) const
{
    const auto found = m_entries.find(id);
    return found == m_entries.end() ? nullptr : found->second.window.get();
}

} // namespace vantry
