#include "gallery/OnboardingPictures.h"

#include "support/OnboardingWorld.h"

using namespace Qt::StringLiterals;

namespace vantry::gallery {

namespace {

using test::OnboardingWorld;
using World = std::shared_ptr<OnboardingWorld>;
using HookInstallStatus = OnboardingViewModel::HookInstallStatus;

/// A picture of a step, in a world that is prepared before the first step and again at this one.
struct Step
{
    QString name;
    OnboardingStep step;
    std::function<void(OnboardingWorld &)> before {};
    std::function<void(OnboardingWorld &)> after {};
    std::function<void(PictureView &)> act {};
    DesktopPreferences::Values preferences {};
    Qt::LayoutDirection direction { Qt::LeftToRight };
};

Picture pictureOf(const Step &step)
{
    const auto frame = [step](PanelWorld &, bool) {
        // Searches that a picture holds end with the world.
        const World world(new OnboardingWorld, [](OnboardingWorld *ended) {
            ended->tools.letGo();
            delete ended;
        });
        world->tools.put(u"claude"_s, u"/home/mara/.npm-global/bin/claude"_s);
        if (step.before)
            step.before(*world);
        if (!world->goTo(step.step))
            qWarning("the step can't be reached");
        if (step.after)
            step.after(*world);
        return PictureFrame { .file = u"OnboardingPictureFrame.qml"_s,
                              .properties = { { u"viewModel"_s, QVariant::fromValue(&world->model()) } },
                              .keeps = world };
    };
    return { .name = u"onboarding-"_s + step.name,
             .prepare = [](PanelWorld &) {},
             .act = step.act,
             .preferences = step.preferences,
             .direction = step.direction,
             .frame = frame };
}

void installTheHook(OnboardingWorld &world)
{
    world.model().installHook();
    (void)world.waitFor([&] { return !world.model().isInstalling(); });
}

void takePythonAway(OnboardingWorld &world)
{
    world.tools.takeAway(u"python3"_s);
}

std::vector<Step> steps()
{
    using enum OnboardingStep;
    return {
        { u"welcome"_s, welcome },
        { u"capabilities"_s, capabilities },
        { u"dependencies"_s, checkDependencies },
        { u"dependencies-missing"_s, checkDependencies, takePythonAway },
        { u"dependencies-none"_s, checkDependencies,
          [](OnboardingWorld &world) {
              takePythonAway(world);
              world.tools.takeAway(u"claude"_s);
          } },
        { u"dependencies-checking"_s,
          checkDependencies,
          {},
          [](OnboardingWorld &world) {
              world.tools.hold();
              world.model().checkDependencies();
          } },
        { u"dependencies-long-path"_s, checkDependencies,
          [](OnboardingWorld &world) {
              world.tools.put(u"claude"_s, u"/home/mara/Library/Application Support/fnm/node-versions/v22.11.0/"_s +
                                               u"installation/lib/node_modules/agent/bin/claude"_s);
          } },
        { u"hook"_s, OnboardingStep::installHook },
        { u"hook-done"_s, OnboardingStep::installHook, {}, installTheHook },
        { u"hook-failed"_s, OnboardingStep::installHook,
          [](OnboardingWorld &world) { world.scriptSource = u":/nothing"_s; }, installTheHook },
        { u"sounds"_s, sounds },
        { u"sounds-open"_s, sounds, {}, {}, [](PictureView &view) { view.click(u"Task Complete, Glass"_s); } },
        { u"display-mode"_s, displayMode },
        { u"display-mode-notch"_s,
          displayMode,
          {},
          [](OnboardingWorld &world) { world.model().selectDisplayMode(static_cast<int>(DisplayMode::notch)); } },
        { u"display-mode-no-notch"_s,
          displayMode,
          [](OnboardingWorld &world) {
              world.screens.all = { test::FakeScreens::plain(u"one"_s, QRect(0, 0, 1920, 1080)) };
              world.defaults.setString(displayModeKey, rawValue(DisplayMode::both));
          },
          {},
          [](PictureView &view) { view.focus(u"Both"_s); } },
        { u"done"_s, done },
    };
}

} // namespace

void addOnboardingPictures(std::vector<Picture> &all)
{
    const std::vector<Step> every = steps();
    for (const Step &step : every)
        all.push_back(pictureOf(step));
    const QStringList varied { u"welcome"_s, u"dependencies-missing"_s, u"hook-failed"_s, u"sounds"_s,
                               u"display-mode"_s };
    const auto addLike = [&](const QString &suffix, const DesktopPreferences::Values &preferences,
                             Qt::LayoutDirection direction = Qt::LeftToRight) {
        for (Step step : every) {
            if (!varied.contains(step.name))
                continue;
            step.name += suffix;
            step.preferences = preferences;
            step.direction = direction;
            all.push_back(pictureOf(step));
        }
    };
    addLike(u"-text-200"_s, { .textScale = 2 });
    addLike(u"-high-contrast"_s, { .highContrast = true });
    addLike(u"-right-to-left"_s, {}, Qt::RightToLeft);
}

} // namespace vantry::gallery
