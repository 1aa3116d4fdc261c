#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <functional>

class QIcon;

namespace vantry {

/// The program's icon in the desktop's tray. Where there is no tray it waits for one: everything that is set holds from
/// then on. Main thread only.
class StatusItem
{
public:
    /// One entry of the icon's menu; one without a title is a separator.
    struct MenuEntry
    {
        QString title {};
        std::function<void()> action {}; ///< Unset: the entry is disabled.
        QString key {};                  ///< Shown beside the title, with the desktop's command key; empty: none.
    };

    virtual ~StatusItem() = default;

    virtual void setIcon(const QIcon &icon) = 0;
    virtual void setToolTip(const QString &text) = 0;
    /// Some trays show the menu alone, whatever was clicked.
    virtual void setMenu(const QList<MenuEntry> &entries) = 0;
    /// Hidden at first.
    virtual void setVisible(bool visible) = 0;

    /// Whether there is a tray that can show the icon.
    [[nodiscard]] virtual bool hasTray() const = 0;
    /// Where the icon is on the desktop; empty where the tray doesn't tell.
    [[nodiscard]] virtual QRect frame() const = 0;

    std::function<void()> onClick;     ///< The icon was clicked, and the menu is not what that opens.
    std::function<void()> onTrayFound; ///< There is a tray now.
    std::function<void()> onNoTray;    ///< There was none for some seconds after the first setVisible(true). Once.
};

} // namespace vantry
