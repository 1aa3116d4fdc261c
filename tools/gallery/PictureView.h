#pragma once

#include "gallery/PanelWorld.h"
#include "style/Appearance.h"
#include "support/FakeDesktopPreferences.h"

#include <QImage>
#include <QQuickItem>
#include <QQuickView>
#include <QVariantMap>

#include <memory>

namespace vantry::gallery {

/// What a window shows: a QML file of the gallery's, and what its properties are.
struct PictureFrame
{
    QString file;
    QVariantMap properties {};
    QString theme {};                     ///< Other than the desktop's; empty: that.
    std::shared_ptr<const void> keeps {}; ///< What the properties point to.
};

/// A window in memory that shows the views of a world, still and complete. Main thread only.
class PictureView
{
public:
    /// Takes the QML files of all views made from now on from the program's source folder, instead of those that are
    /// built in.
    static void readQmlFrom(const QString &sourceFolder);

    /// Shows the panel. The platform must be offscreen. The world must outlive the view.
    PictureView(PanelWorld &world, const DesktopPreferences::Values &preferences);
    PictureView(PanelWorld &world, const DesktopPreferences::Values &preferences, const PictureFrame &frame);

    [[nodiscard]] QQuickView &window() { return m_view; }
    [[nodiscard]] PanelWorld &world() { return m_world; }

    /// The control with this accessible name, or whose name begins with it; null when there is none.
    [[nodiscard]] QQuickItem *control(const QString &name);
    void hover(const QString &name);
    void click(const QString &name, Qt::MouseButton button = Qt::LeftButton);
    /// Puts the keyboard's focus there.
    void focus(const QString &name);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void type(const QString &text);

    /// Runs the event loop until nothing moves any more.
    void settle();
    [[nodiscard]] QImage grab();

private:
    PanelWorld &m_world;
    std::shared_ptr<const void> m_keeps;
    test::FakeDesktopPreferences m_preferences;
    Appearance m_appearance { m_preferences };
    QQuickView m_view;
};

} // namespace vantry::gallery
