#include "app/PanelPlacement.h"

#include <algorithm>

namespace vantry {
namespace {

// QRect's right and bottom lie one pixel inside of its edges.
int rightEdge(const QRect &rect)
{
    return rect.x() + rect.width();
}

int bottomEdge(const QRect &rect)
{
    return rect.y() + rect.height();
}

/// How far the point is from the rectangle; 0 inside of it.
int distance(const QRect &rect, QPoint point)
{
    const int across = std::max({ rect.left() - point.x(), 0, point.x() - rect.right() });
    const int down = std::max({ rect.top() - point.y(), 0, point.y() - rect.bottom() });
    return across + down;
}

const ScreenArea &screenNear(QPoint point, const QList<ScreenArea> &screens)
{
    return *std::ranges::min_element(screens, {},
                                     [point](const ScreenArea &screen) { return distance(screen.geometry, point); });
}

/// What of the screen the panel may cover.
QRect roomOn(const ScreenArea &screen)
{
    const QRect available = screen.available.intersected(screen.geometry);
    const QRect whole = available.isEmpty() ? screen.geometry : available;
    return whole.adjusted(panelGap, panelGap, -panelGap, -panelGap);
}

QRect moveInside(QRect panel, const QRect &room)
{
    panel.setSize(panel.size().boundedTo(room.size()));
    panel.moveLeft(std::clamp(panel.x(), room.x(), rightEdge(room) - panel.width()));
    panel.moveTop(std::clamp(panel.y(), room.y(), bottomEdge(room) - panel.height()));
    return panel;
}

/// At the right end of the bar, as far as what bars leave tells where that is.
QRect placeInCorner(QSize size, const ScreenArea &screen)
{
    const bool isBarBelow =
        bottomEdge(screen.available) < bottomEdge(screen.geometry) && screen.available.top() == screen.geometry.top();
    const QRect room = roomOn(screen);
    return moveInside(QRect(QPoint(rightEdge(room) - size.width(), isBarBelow ? bottomEdge(room) : room.y()), size),
                      room);
}

/// Away from the edge of the screen that the icon is at.
QRect placeBeside(const QRect &icon, QSize size, const ScreenArea &screen)
{
    const QPoint center = icon.center();
    const QRect room = roomOn(screen);
    QRect panel(QPoint(center.x() - size.width() / 2, center.y() - size.height() / 2), size);
    const bool isInBarAtSide = center.x() < screen.available.left() || center.x() > screen.available.right();
    if (isInBarAtSide)
        panel.moveLeft(center.x() < screen.available.left() ? room.x() : rightEdge(room) - size.width());
    else if (center.y() < screen.geometry.center().y())
        panel.moveTop(bottomEdge(icon) + panelGap);
    else
        panel.moveTop(icon.top() - panelGap - size.height());
    return moveInside(panel, room);
}

} // namespace

QRect placePanel(QSize size, const PanelAnchor &anchor, const QList<ScreenArea> &screens)
{
    if (screens.isEmpty())
        return QRect(QPoint(), size);
    // Trays that hide the icon report a place outside of everything.
    const bool isIconOnScreen = !anchor.icon.isEmpty() && std::ranges::any_of(screens, [&](const ScreenArea &screen) {
        return screen.geometry.contains(anchor.icon.center());
    });
    if (isIconOnScreen)
        return placeBeside(anchor.icon, size, screenNear(anchor.icon.center(), screens));
    if (anchor.pointer)
        return placeBeside(QRect(*anchor.pointer, QSize(1, 1)), size, screenNear(*anchor.pointer, screens));
    return placeInCorner(size, screens.first());
}

QRect resizePanel(const QRect &shown, QSize size, const QList<ScreenArea> &screens)
{
    if (screens.isEmpty())
        return QRect(shown.topLeft(), size);
    const QRect room = roomOn(screenNear(shown.center(), screens));
    QRect panel(shown.topLeft(), size.boundedTo(room.size()));
    panel.moveLeft(shown.center().x() - (panel.width() - 1) / 2);
    if (shown.top() - room.top() > room.bottom() - shown.bottom())
        panel.moveBottom(shown.bottom());
    return moveInside(panel, room);
}

} // namespace vantry
