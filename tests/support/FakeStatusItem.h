#pragma once

#include "platform/StatusItem.h"

#include <QIcon>

namespace vantry::test {

/// A tray that a test makes up. The test clicks by calling what is set.
class FakeStatusItem final : public StatusItem
{
public:
    void setIcon(const QIcon &given) override
    {
        icon = given;
        ++pictures;
    }
    void setToolTip(const QString &text) override { toolTip = text; }
    void setMenu(const QList<MenuEntry> &entries) override { menu = entries; }
    void setVisible(bool visible) override { isVisible = visible; }
    [[nodiscard]] bool hasTray() const override { return tray; }
    [[nodiscard]] QRect frame() const override { return place; }

    /// Chooses the menu's entry of this title.
    void choose(const QString &title) const
    {
        for (const MenuEntry &entry : menu) {
            if (entry.title == title && entry.action)
                entry.action();
        }
    }

    bool tray { true };
    QRect place;
    QIcon icon;
    int pictures { 0 }; ///< How often the icon was set.
    QString toolTip;
    QList<MenuEntry> menu;
    bool isVisible { false };
};

} // namespace vantry::test
