#pragma once

#include "DynamicNotchKit/DynamicNotch.h"
#include "DynamicNotchKit/DynamicNotchPanel.h"
#include "DynamicNotchKit/NotchSurface.h"
#include "support/FakeOverlayWindows.h"
#include "support/ManualScheduler.h"
#include "support/views/ViewWindow.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QTest>

namespace vantry::test {

/// With a notch of 200 by 28.
inline ScreenInfo screenWithNotch(const QRect &frame = { 0, 0, 1920, 1080 })
{
    const QSize notch = Screens::virtualNotchSize;
    const int side = (frame.width() - notch.width()) / 2;
    ScreenInfo screen { .name = "one", .frame = frame, .available = frame.adjusted(0, notch.height(), 0, 0) };
    screen.topInset = notch.height();
    screen.topLeftArea = { frame.x(), frame.y(), side, notch.height() };
    screen.topRightArea = { frame.right() + 1 - side, frame.y(), side, notch.height() };
    return screen;
}

/// With a bar of 32 at its top.
inline ScreenInfo screenWithoutNotch()
{
    return { .name = "plain", .frame = { 0, 0, 1920, 1080 }, .available = { 0, 32, 1920, 1048 } };
}

/// A surface over invented contents, whose time is the test's. QML must not warn.
class DynamicNotchFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        engine.addImportPath("qrc:/qt/qml");
        make({});
    }
    void TearDown() override
    {
        notch.reset();
        const QStringList messages = warnings.takeWarnings();
        EXPECT_TRUE(messages.isEmpty()) << qPrintable(messages.join(u'\n'));
    }

    void make(const DynamicNotch::Options &options)
    {
        notch = std::make_unique<DynamicNotch>(
            DynamicNotch::Surroundings { .engine = engine,
                                         .overlays = overlays,
                                         .clock = clock,
                                         .scheduler = scheduler,
                                         .reducedMotion = [this] { return reducedMotion; },
                                         .performHapticFeedback = [this] { ++haptics; } },
            contents, options);
        notch->onHoverChanged = [this](bool isHovering) { hovers.append(isHovering); };
    }
    [[nodiscard]] DynamicNotch::Done count(int &calls)
    {
        return [&calls] { ++calls; };
    }
    /// Lets the time pass, with a frame at its end.
    void pass(Seconds time)
    {
        scheduler.advance(time);
        surface().advance();
        QCoreApplication::processEvents();
    }
    [[nodiscard]] DynamicNotchPanel *panel() { return notch->windowController(); }
    [[nodiscard]] NotchSurface &surface() { return notch->surface(); }
    [[nodiscard]] QQuickItem *expandedItem() { return panel()->rootObject()->findChild<QQuickItem *>("expanded"); }
    void movePointer(const QPoint &position)
    {
        // To where it is already it doesn't move.
        QTest::mouseMove(panel(), position + QPoint(0, 1));
        QTest::mouseMove(panel(), position);
    }
    /// In the window.
    [[nodiscard]] QPoint notchCentre() { return { panel()->width() / 2, 14 }; }
    [[nodiscard]] QPoint besideTheShape() { return { 10, panel()->height() - 10 }; }

    WarningRecorder warnings;
    QQmlEngine engine;
    FakeOverlayWindows overlays;
    ManualClock clock;
    ManualScheduler scheduler { clock };
    bool reducedMotion { false };
    int haptics { 0 };
    QList<bool> hovers;
    DynamicNotch::Contents contents {
        .expanded = { QUrl("qrc:/vantry/tests/ExpandedProbe.qml") },
        .compactLeading = { QUrl("qrc:/vantry/tests/CompactProbe.qml") },
        .compactTrailing = { QUrl("qrc:/vantry/tests/CompactProbe.qml") },
        .windowProperties = { { "vantryTheme", "notch" } },
    };
    std::unique_ptr<DynamicNotch> notch;
};

} // namespace vantry::test
