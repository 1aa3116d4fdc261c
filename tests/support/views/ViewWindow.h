#pragma once

#include "style/Appearance.h"
#include "support/FakeDesktopPreferences.h"

#include <QQuickItem>
#include <QQuickView>
#include <QStringList>

#include <functional>

namespace vantry::test {

/// While it lives, it gathers what Qt and QML warn of. Views must not warn.
class WarningRecorder
{
public:
    WarningRecorder();
    ~WarningRecorder();
    WarningRecorder(const WarningRecorder &) = delete;
    WarningRecorder &operator=(const WarningRecorder &) = delete;

    [[nodiscard]] QStringList takeWarnings();

private:
    QtMessageHandler m_previous;
};

/// A window in memory that shows a QML file, with preferences that the test sets. Its destructor fails the test when
/// there was a warning.
class ViewWindow
{
public:
    explicit ViewWindow(const QString &file, const QVariantMap &properties = {}, const QString &theme = {});
    ~ViewWindow();
    ViewWindow(const ViewWindow &) = delete;
    ViewWindow &operator=(const ViewWindow &) = delete;

    [[nodiscard]] FakeDesktopPreferences &preferences() { return m_preferences; }
    [[nodiscard]] QQuickView &view() { return m_view; }
    [[nodiscard]] QQuickItem *root() { return m_view.rootObject(); }
    /// The item of this objectName, which may be made by a delegate or stand in a popup. Fails the test and gives null
    /// where there is none.
    [[nodiscard]] QQuickItem *item(const QString &name);
    [[nodiscard]] static QPoint centerOf(const QQuickItem *item);

    void click(const QString &name, Qt::MouseButton button = Qt::LeftButton);
    void hover(const QString &name);
    void key(int key, Qt::KeyboardModifiers modifiers = {});
    void type(const QString &text);
    /// Runs the event loop until the condition holds, for some seconds at most.
    [[nodiscard]] static bool waitFor(const std::function<bool()> &condition);
    /// The picture, after what is pending has been drawn.
    [[nodiscard]] QImage grab();

    [[nodiscard]] QStringList takeWarnings() { return m_warnings.takeWarnings(); }

private:
    WarningRecorder m_warnings;
    FakeDesktopPreferences m_preferences;
    Appearance m_appearance { m_preferences };
    QQuickView m_view;
};

} // namespace vantry::test
