#include "gallery/SettingsPictures.h"

#include "app/settings/SettingsViewModel.h"
#include "hooks/HookInstaller.h"
#include "support/SettingsWorld.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

using Authorization = NotificationCentre::Authorization;
using Presence = NotificationCentre::Server::Presence;

constexpr QSize smallest(440, 480);
constexpr QSize whole(440, 800);

/// What the settings show, with all that they work with.
struct Shown
{
    test::SettingsWorld world;
    std::optional<SettingsViewModel> model;

    void settle(Authorization authorization = Authorization::Authorized)
    {
        world.settle();
        world.centre.tellStatus(authorization);
    }
};

using Prepare = std::function<void(test::SettingsWorld &)>;
using Act = std::function<void(SettingsViewModel &)>;

struct Facts
{
    QString name;
    QSize size { whole };
    QString tab { u"General"_s };
    Prepare prepare { [](test::SettingsWorld &) {} };
    Act act { [](SettingsViewModel &) {} };
    Authorization authorization { Authorization::Authorized };
    QString focus {}; ///< The control that has it, by its name.
};

void installAll(test::SettingsWorld &world)
{
    (void)HookInstaller(world.paths.home).install(49152);
    (void)world.loginItem.setEnabled(true);
    world.centre.setServer({ Presence::Present, { u"actions"_s } });
    world.defaults.setBoolean(u"notify_taskComplete"_s, false);
    world.defaults.setString(u"sound_question"_s, u"/home/robin/sounds/doorbell-soft-two-tone.wav"_s);
}

Picture settingsPicture(const Facts &facts)
{
    Picture picture { .name = u"settings-"_s + facts.name, .prepare = [](PanelWorld &) {} };
    picture.frame = [facts](PanelWorld &, bool) {
        const auto shown = std::make_shared<Shown>();
        shown->world.paths.dataFolder = shown->world.paths.home + u"/.local/share/Vantry"_s;
        facts.prepare(shown->world);
        shown->model.emplace(shown->world.services());
        shown->settle(facts.authorization);
        facts.act(*shown->model);
        shown->settle(facts.authorization);
        return PictureFrame { .file = u"SettingsPictureFrame.qml"_s,
                              .properties = { { u"model"_s, QVariant::fromValue(&*shown->model) },
                                              { u"windowSize"_s, QSizeF(facts.size) } },
                              .keeps = shown };
    };
    picture.act = [tab = facts.tab, focus = facts.focus](PictureView &view) {
        view.click(tab);
        view.settle();
        if (!focus.isEmpty())
            view.focus(focus);
    };
    return picture;
}

void configureTelegram(test::SettingsWorld &world)
{
    world.telegram.setBotToken(u"7204416339:invented-token-for-pictures"_s);
    world.telegram.setChatID(u"482016339"_s);
}

void addGeneral(std::vector<Picture> &all)
{
    const auto add = [&all](const Facts &facts) { all.push_back(settingsPicture(facts)); };
    add({ .name = u"general"_s, .prepare = installAll });
    add({ .name = u"general-min"_s, .size = smallest, .prepare = installAll });
    add({ .name = u"general-wide"_s, .size = { 760, 800 }, .prepare = installAll });
    add({ .name = u"general-denied"_s,
          .prepare =
              [](test::SettingsWorld &world) {
                  QFile inTheWay(world.folder.filePath(u".claude"_s));
                  (void)inTheWay.open(QFile::WriteOnly);
                  world.defaults.setBoolean(u"sounds_enabled"_s, false);
              },
          .act = [](SettingsViewModel &model) { model.general()->installHook(); },
          .authorization = Authorization::Denied });
    add({ .name = u"general-not-asked"_s, .authorization = Authorization::NotDetermined });
    add({ .name = u"general-no-server"_s,
          .size = { 440, 900 },
          .prepare =
              [](test::SettingsWorld &world) {
                  world.centre.setServer({ Presence::Absent, {} });
                  world.isWithoutTray = true;
              },
          .act = [](SettingsViewModel &model) { model.general()->installHook(); } });
    add({ .name = u"general-no-actions"_s, .size = { 440, 860 }, .prepare = [](test::SettingsWorld &world) {
             world.centre.setServer({ Presence::Present, {} });
             world.defaults.setBoolean(u"notifications_enabled"_s, false);
             world.defaults.setString(u"displayMode"_s, u"both"_s);
             world.canPlaceWindows = false;
         } });
    add({ .name = u"general-focus"_s, .size = smallest, .prepare = installAll, .focus = u"Launch at Login"_s });
}

void addOthers(std::vector<Picture> &all)
{
    const auto add = [&all](const Facts &facts) { all.push_back(settingsPicture(facts)); };
    add({ .name = u"telegram-running"_s, .size = smallest, .tab = u"Telegram"_s, .prepare = configureTelegram });
    add({ .name = u"telegram-empty"_s, .size = smallest, .tab = u"Telegram"_s, .focus = u"Bot Token"_s });
    add({ .name = u"telegram-paused"_s,
          .size = smallest,
          .tab = u"Telegram"_s,
          .prepare = [](test::SettingsWorld &world) {
              configureTelegram(world);
              world.telegram.setPaused(true);
          } });
    add({ .name = u"about"_s, .size = smallest, .tab = u"About"_s });
    add({ .name = u"debug"_s, .size = smallest, .tab = u"Debug"_s, .act = [](SettingsViewModel &model) {
             model.debug()->resetOnboarding();
         } });
}

} // namespace

void addSettingsPictures(std::vector<Picture> &all)
{
    const auto first = static_cast<std::ptrdiff_t>(all.size());
    addGeneral(all);
    addOthers(all);
    for (const QString &base : { u"settings-general-min"_s, u"settings-telegram-running"_s, u"settings-debug"_s }) {
        const auto found = std::ranges::find(all.begin() + first, all.end(), base, &Picture::name);
        Picture large = *found;
        Picture mirrored = *found;
        large.name += u"-text-200"_s;
        large.preferences.textScale = 2;
        mirrored.name += u"-right-to-left"_s;
        mirrored.direction = Qt::RightToLeft;
        all.push_back(std::move(large));
        all.push_back(std::move(mirrored));
    }
}

} // namespace vantry::gallery
