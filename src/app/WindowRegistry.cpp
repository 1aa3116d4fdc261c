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
    const auto found = m_entries.find(id);
    if (found == m_entries.end())
        return false;
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
    window->show();
    window->raise();
    m_overlays.takeFocus(*window);
    return true;
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
