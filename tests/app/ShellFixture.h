#pragma once

#include "app/AppDelegate.h"
#include "app/VantryApp.h"
#include "panels/MenuBarViewModel.h"
#include "support/EventBuilder.h"
#include "support/FakeApplications.h"
#include "support/FakeControlEndpoint.h"
#include "support/FakeDesktopPreferences.h"
#include "support/FakeFileChooser.h"
#include "support/FakeFileManager.h"
#include "support/FakeFullScreenWatch.h"
#include "support/FakeHookConnection.h"
#include "support/FakeLoginItem.h"
#include "support/FakeNotificationCentre.h"
#include "support/FakeOverlayWindows.h"
#include "support/FakePeerIdentity.h"
#include "support/FakeProcessTable.h"
#include "support/FakeScreens.h"
#include "support/FakeSessionLock.h"
#include "support/FakeStatusItem.h"
#include "support/FakeTerminalDriver.h"
#include "support/ManualMainQueue.h"
#include "support/ManualScheduler.h"
#include "support/RecordingScriptHost.h"
#include "support/views/ViewWindow.h"

#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

namespace vantry::test {

/// The application with its windows, over fakes of the system and of the desktop. Views that warn fail the test.
class ShellFixture : public ::testing::Test
{
protected:
    ~ShellFixture() override
    {
        app.reset();
        // What windows in memory can't do.
        const QString unsupported = QStringLiteral("This plugin does not support");
        const QStringList left = warnings.takeWarnings();
        for (const QString &warning : left)
            EXPECT_TRUE(warning.startsWith(unsupported)) << warning.toStdString();
    }

    void start()
    {
        ASSERT_EQ(delegate.publishControl(), ControlEndpoint::Publication::Published);
        app.emplace(delegate,
                    VantryApp::Ports { clock, scheduler, item, overlays, preferences, screens, fullScreens.maker(),
                                       sessionLock.maker(), fileChooser, fileManager, loginItem,
                                       [](const QString &name) { return std::optional(u'/' + name); },
                                       [] { return QStringLiteral("python3"); } },
                    [this] {
                        ++panelsMade;
                        auto made = std::make_unique<MenuBarViewModel>(delegate.panelServices(), SessionCallbacks {});
                        model = made.get();
                        return made;
                    });
        mainQueue.drainAll();
    }
    void deliver(const HookEvent &event)
    {
        delegate.sessionManager().handleEvent(event);
        mainQueue.drainAll();
    }
    /// The session begins to wait.
    void ask(const QString &session)
    {
        EventBuilder event(HookEventType::permissionRequest);
        deliver(event.session(session).tool(QStringLiteral("Bash")));
    }
    void click() const { item.onClick(); }
    [[nodiscard]] bool isOpen() { return app->panel() && app->panel()->isOpen(); }
    [[nodiscard]] QQuickView &view() { return app->panel()->view(); }
    [[nodiscard]] bool waitUntilActive() { return QTest::qWaitForWindowActive(&view()); }
    /// Where the panel itself is, without the shadow.
    [[nodiscard]] QRect panelGeometry()
    {
        const int margin = app->panel()->shadowMargin();
        return view().geometry().adjusted(margin, margin, -margin, -margin);
    }
    void press(Qt::Key key) { QTest::keyClick(&view(), key); }

    WarningRecorder warnings;
    QTemporaryDir home;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    ManualMainQueue mainQueue;
    FakeProcessTable processes;
    FakePeerIdentity peers;
    FakeControlEndpoint endpoint;
    FakeApplications applications;
    RecordingScriptHost scripts;
    FakeNotificationCentre notifications;
    FakeTerminalDriver terminal;
    AppDelegate delegate { { .home = home.path(),
                             .dataFolder = home.filePath(QStringLiteral("data")),
                             .configFile = home.filePath(QStringLiteral("settings.json")),
                             .runtimeFolder = {} },
                           { clock,
                             scheduler,
                             mainQueue,
                             processes,
                             peers,
                             endpoint,
                             applications,
                             scripts,
                             notifications,
                             { &terminal } },
                           47'393 };
    FakeStatusItem item;
    FakeOverlayWindows overlays;
    FakeDesktopPreferences preferences;
    FakeScreens screens;
    FakeFullScreenWatch fullScreens;
    FakeSessionLock sessionLock;
    FakeFileChooser fileChooser;
    FakeFileManager fileManager;
    FakeLoginItem loginItem;
    MenuBarViewModel *model { nullptr }; ///< Null until the panel is opened.
    int panelsMade { 0 };
    std::optional<VantryApp> app;
};

} // namespace vantry::test
