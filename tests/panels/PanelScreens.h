#pragma once

#include "gallery/PanelWorld.h"
#include "gallery/PictureView.h"
#include "support/views/ViewWindow.h"

#include <QAccessible>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace vantry::test {

/// The panel in a window in memory, over invented sessions. A test fails when QML warns of anything.
class PanelScreens : public ::testing::Test
{
protected:
    using SessionFacts = gallery::SessionFacts;

    ~PanelScreens() override
    {
        m_view.reset();
        EXPECT_THAT(m_warnings.takeWarnings(), ::testing::IsEmpty());
    }

    [[nodiscard]] gallery::PanelWorld &world() { return m_world; }
    [[nodiscard]] MenuBarViewModel &panel() { return m_world.panel(); }
    /// Made at the first call, with what is there then.
    [[nodiscard]] gallery::PictureView &view()
    {
        if (!m_view)
            m_view =
                std::make_unique<gallery::PictureView>(m_world, DesktopPreferences::Values { .reducedMotion = !moves });
        return *m_view;
    }

    /// Fails the test when there is none.
    [[nodiscard]] QQuickItem *control(const QString &name)
    {
        auto *found = view().control(name);
        EXPECT_TRUE(found) << "nothing is called " << qPrintable(name);
        return found;
    }
    [[nodiscard]] QAccessible::Role roleOf(const QString &name)
    {
        auto *item = control(name);
        return item ? QAccessible::queryAccessibleInterface(item)->role() : QAccessible::NoRole;
    }
    /// The accessible name of what has the keyboard's focus.
    [[nodiscard]] QString focused()
    {
        auto *item = view().window().activeFocusItem();
        auto *interface = item ? QAccessible::queryAccessibleInterface(item) : nullptr;
        return interface ? interface->text(QAccessible::Name) : QString();
    }
    [[nodiscard]] bool showsFocus() { return view().window().activeFocusItem()->property("visualFocus").toBool(); }
    /// In the scene.
    [[nodiscard]] QRectF placeOf(const QString &name)
    {
        auto *item = control(name);
        return item ? item->mapRectToScene(item->boundingRect()) : QRectF();
    }

    bool moves { false }; ///< Whether the view, when it is made, shows how things move.

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { view().key(key, modifiers); }

    static SessionFacts asking(const QString &project)
    {
        return { .project = project,
                 .state = SessionState::needsPermission,
                 .branch = QStringLiteral("main"),
                 .tool = QStringLiteral("Bash"),
                 .toolDetail = QStringLiteral("make") };
    }
    static SessionFacts questioning(const QString &project)
    {
        return { .project = project,
                 .state = SessionState::hasQuestion,
                 .options = { QStringLiteral("Half-even"), QStringLiteral("Half-up") } };
    }

private:
    WarningRecorder m_warnings;
    gallery::PanelWorld m_world;
    std::unique_ptr<gallery::PictureView> m_view;
};

} // namespace vantry::test
