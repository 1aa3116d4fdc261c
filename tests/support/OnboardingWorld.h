#pragma once

#include "app/onboarding/OnboardingViewModel.h"
#include "support/FakeOverlayWindows.h"
#include "support/FakeScreens.h"
#include "support/FakeSoundPlayer.h"
#include "support/ManualMainQueue.h"
#include "support/RecordingLog.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace vantry::test {

/// Programs that a test makes up. A search takes until the test lets it go on, where it asks for that.
class FakeTools
{
public:
    [[nodiscard]] std::optional<QString> find(const QString &name)
    {
        std::unique_lock lock(m_mutex);
        m_searches.append(name);
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_isHeld; });
        const auto found = m_paths.find(name);
        return found == m_paths.end() ? std::nullopt : std::optional(found->second);
    }
    void put(const QString &name, const QString &path)
    {
        const std::scoped_lock lock(m_mutex);
        m_paths[name] = path;
    }
    void takeAway(const QString &name)
    {
        const std::scoped_lock lock(m_mutex);
        m_paths.erase(name);
    }
    void hold()
    {
        const std::scoped_lock lock(m_mutex);
        m_isHeld = true;
    }
    void letGo()
    {
        const std::scoped_lock lock(m_mutex);
        m_isHeld = false;
        m_changed.notify_all();
    }
    void waitForSearches(qsizetype count)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this, count] { return m_searches.size() >= count; });
    }
    [[nodiscard]] QStringList searches() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_searches;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<QString, QString> m_paths;
    QStringList m_searches;
    bool m_isHeld { false };
};

/// The set-up over a home of its own, where both programs are found, on a screen with a virtual notch. What other
/// threads hand over waits for the test.
class OnboardingWorld
{
public:
    OnboardingWorld()
    {
        player.sounds = { QStringLiteral("Blow"), QStringLiteral("Glass"), QStringLiteral("Purr") };
        screens.all = { FakeScreens::notched(QStringLiteral("one"), QRect(0, 0, 1920, 1080)) };
        tools.put(QStringLiteral("claude"), QStringLiteral("/home/me/.local/bin/claude"));
        tools.put(QStringLiteral("python3"), QStringLiteral("/usr/bin/python3"));
    }

    /// Made when it is asked for first.
    OnboardingViewModel &model()
    {
        if (!m_model) {
            m_model = std::make_unique<OnboardingViewModel>(
                OnboardingViewModel::Services { .defaults = defaults,
                                                .mainQueue = mainQueue,
                                                .screens = screens,
                                                .overlays = overlays,
                                                .soundService = &sounds,
                                                .hookInstaller = { home.path(), scriptSource },
                                                .port = 49152,
                                                .findTool = [this](const QString &name) { return tools.find(name); },
                                                .pythonHint = QStringLiteral("sudo apt install python3") });
            QObject::connect(m_model.get(), &OnboardingViewModel::announcement,
                             [this](const QString &text) { said.append(text); });
        }
        return *m_model;
    }
    void endModel() { m_model.reset(); }

    /// Runs what other threads hand over until the condition holds.
    [[nodiscard]] bool waitFor(const std::function<bool()> &condition)
    {
        while (!condition()) {
            if (!mainQueue.drainWhenPosted())
                return false;
        }
        return true;
    }
    [[nodiscard]] bool waitForDependencies()
    {
        return waitFor(
            [this] { return !model().claudeCodeStatus().isChecking() && !model().pythonStatus().isChecking(); });
    }
    [[nodiscard]] bool waitForHook(OnboardingViewModel::HookInstallStatus status)
    {
        return waitFor([this, status] { return model().hookInstallStatus() == status; });
    }
    /// Presses the main button until it is there; the hook is installed on the way. False when that fails.
    [[nodiscard]] bool goTo(OnboardingStep step)
    {
        using Status = OnboardingViewModel::HookInstallStatus;
        while (model().currentStep() != step) {
            model().advance();
            if (!waitForDependencies() || (model().isInstalling() && !waitForHook(Status::done)))
                return false;
        }
        return true;
    }
    [[nodiscard]] HookInstaller installer() const { return HookInstaller(home.path()); }
    [[nodiscard]] bool writeAgentSettings(const QByteArray &content) const
    {
        QFile file(home.filePath(QStringLiteral(".claude/settings.json")));
        return QDir(home.path()).mkpath(QStringLiteral(".claude")) && file.open(QFile::WriteOnly) &&
               file.write(content) == content.size();
    }

    QTemporaryDir home;
    QString scriptSource { QStringLiteral(":/vantry/vantry_hook.py") };
    ManualMainQueue mainQueue;
    RecordingLog log;
    Defaults defaults { home.filePath(QStringLiteral("settings.json")), mainQueue, log };
    FakeSoundPlayer player;
    SoundService sounds { defaults, player, log };
    FakeScreens screens;
    FakeOverlayWindows overlays;
    FakeTools tools;
    QStringList said;

private:
    std::unique_ptr<OnboardingViewModel> m_model;
};

} // namespace vantry::test
