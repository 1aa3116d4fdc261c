#pragma once

#include "platform/DesktopPreferences.h"
#include "style/Palette.h"

#include <QObject>

class QQmlEngine;

namespace vantry {

/// The design as the desktop's preferences make it: which theme is on, its colours, fonts and scale. One for a QML
/// engine, which finds it with of(). Main thread only.
class Appearance final : public QObject
{
    Q_OBJECT

public:
    enum class ThemeName { Light, Dark, Notch };

    /// Follows the preferences, which must outlive it.
    explicit Appearance(DesktopPreferences &preferences, QObject *parent = nullptr);
    ~Appearance() override;

    /// Makes the engine's items look like this, and shows the engine where the program's own QML modules are. Before
    /// the first of them is loaded; the engine must not outlive this.
    void install(QQmlEngine &engine);
    /// What is installed in an object's engine; where nothing is, the looks of a desktop that says nothing.
    [[nodiscard]] static Appearance &of(const QObject *object);
    [[nodiscard]] static Appearance &of(QQmlEngine *engine);

    [[nodiscard]] const DesktopPreferences::Values &preferences() const { return m_preferences.values(); }
    /// The theme of a window that follows the desktop.
    [[nodiscard]] ThemeName theme() const;
    [[nodiscard]] const Palette &palette(ThemeName theme) const;
    /// The first call in a process may take a while: it makes the toolkit look for the installed fonts.
    [[nodiscard]] QString fontFamily() const;
    [[nodiscard]] QString fixedFontFamily() const;

Q_SIGNALS:
    void changed();

private:
    void update();

    DesktopPreferences &m_preferences;
    Palette m_light;
    Palette m_dark;
    Palette m_notch;
};

} // namespace vantry
