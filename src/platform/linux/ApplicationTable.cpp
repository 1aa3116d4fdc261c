#include "platform/linux/ApplicationTable.h"

#include <algorithm>
#include <array>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;

struct Application
{
    QString name;
    QString bundleIdentifier;
    QStringList windowClasses;
};

const std::array<Application, 9> &applications()
{
    static const std::array<Application, 9> table {
        Application { u"Visual Studio Code"_s, u"com.microsoft.VSCode"_s, { u"code"_s, u"com.visualstudio.code"_s } },
        { u"Visual Studio Code - Insiders"_s,
          u"com.microsoft.VSCodeInsiders"_s,
          { u"code - insiders"_s, u"code-insiders"_s, u"com.visualstudio.code.insiders"_s } },
        { u"Cursor"_s, u"com.todesktop.230313mzl4w4u92"_s, { u"cursor"_s } },
        { u"Windsurf"_s, u"com.exafunction.windsurf"_s, { u"windsurf"_s } },
        { u"Ghostty"_s, u"com.mitchellh.ghostty"_s, { u"com.mitchellh.ghostty"_s, u"ghostty"_s } },
        { u"kitty"_s, u"net.kovidgoyal.kitty"_s, { u"kitty"_s } },
        { u"Warp"_s, u"dev.warp.Warp-Stable"_s, { u"dev.warp.warp"_s, u"warp"_s } },
        { u"Alacritty"_s, u"org.alacritty"_s, { u"alacritty"_s } },
        // The terminals that come with a desktop, whichever it is.
        { u"Terminal"_s,
          u"com.apple.Terminal"_s,
          { u"gnome-terminal"_s, u"gnome-terminal-server"_s, u"org.gnome.console"_s, u"kgx"_s, u"org.gnome.ptyxis"_s,
            u"konsole"_s, u"org.kde.konsole"_s, u"xfce4-terminal"_s, u"mate-terminal"_s, u"lxterminal"_s,
            u"qterminal"_s, u"tilix"_s, u"terminator"_s, u"org.wezfurlong.wezterm"_s, u"foot"_s, u"xterm"_s,
            u"uxterm"_s, u"urxvt"_s, u"st-256color"_s } },
    };
    return table;
}

template <typename Predicate>
const Application *find(Predicate predicate)
{
    const auto &table = applications();
    const auto found = std::ranges::find_if(table, predicate);
    return found == table.end() ? nullptr : &*found;
}

} // namespace

QStringList windowClassesOf(const QString &applicationName)
{
    const Application *known = find([&](const Application &entry) { return entry.name == applicationName; });
    return known ? known->windowClasses : QStringList { applicationName.toLower() };
}

QStringList windowClassesOfBundle(const QString &bundleIdentifier)
{
    const Application *known =
        find([&](const Application &entry) { return entry.bundleIdentifier == bundleIdentifier; });
    return known ? known->windowClasses : QStringList();
}

QString applicationNameOf(const QString &windowClass)
{
    const QString lower = windowClass.toLower();
    const Application *known = find([&](const Application &entry) { return entry.windowClasses.contains(lower); });
    return known ? known->name : windowClass;
}

} // namespace vantry
