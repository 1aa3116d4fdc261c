#include "style/Appearance.h"

#include "style/DesignTokens.h"

#include <QFontDatabase>
#include <QQmlEngine>

using namespace Qt::StringLiterals;

namespace vantry {
namespace {

constexpr auto engineProperty = "vantryAppearance";

/// For an engine that was given nothing.
class NoPreferences final : public DesktopPreferences
{
public:
    [[nodiscard]] const Values &values() const override { return m_values; }

private:
    Values m_values;
};

/// Fills and tints give way to borders, and what is told by a faint colour gets a strong one.
void raiseContrast(Palette &palette)
{
    palette.line = palette.text3;
    palette.lineStrong = palette.text2;
    palette.tint = palette.bg;
    palette.tintHover = palette.hover;
    palette.tintLine = palette.accentGlyph;
    palette.errorTint = palette.bg;
    palette.errorLine = palette.error;
    palette.added = palette.ready;
    palette.removed = palette.error;
}

Palette paletteFor(const char *theme, bool highContrast)
{
    auto palette = designTokens::palette(theme);
    if (highContrast)
        raiseContrast(palette);
    return palette;
}

/// The family that the desktop names, when it is installed and more than the name of a kind; else the design's first
/// that is installed; else what the toolkit makes of its own default.
QString installedFamily(const QString &preferred, QFontDatabase::SystemFont kind, const char *fallbackKind)
{
    static const QStringList kinds { u"sans"_s, u"sans serif"_s, u"sans-serif"_s, u"mono"_s, u"monospace"_s };
    const auto installed = QFontDatabase::families();
    const auto systemFamily = QFontDatabase::systemFont(kind).family();
    for (const auto &family : { preferred, systemFamily }) {
        if (!kinds.contains(family.toLower()) && installed.contains(family, Qt::CaseInsensitive))
            return family;
    }
    for (const auto &family : designTokens::families(fallbackKind)) {
        if (installed.contains(family))
            return family;
    }
    return systemFamily;
}

} // namespace

Appearance::Appearance(DesktopPreferences &preferences, QObject *parent)
    : QObject(parent)
    , m_preferences(preferences)
{
    m_preferences.onChanged = [this] {
        update();
        Q_EMIT changed();
    };
    update();
}

Appearance::~Appearance()
{
    m_preferences.onChanged = nullptr;
}

void Appearance::install(QQmlEngine &engine)
{
    engine.setProperty(engineProperty, QVariant::fromValue<QObject *>(this));
    engine.addImportPath(u"qrc:/qt/qml"_s);
}

Appearance &Appearance::of(const QObject *object)
{
    return of(qmlEngine(object));
}

Appearance &Appearance::of(QQmlEngine *engine)
{
    if (engine) {
        if (auto *installed = qobject_cast<Appearance *>(engine->property(engineProperty).value<QObject *>()))
            return *installed;
    }
    static NoPreferences noPreferences;
    static Appearance plain(noPreferences);
    return plain;
}

Appearance::ThemeName Appearance::theme() const
{
    return preferences().prefersDark ? ThemeName::Dark : ThemeName::Light;
}

const Palette &Appearance::palette(ThemeName theme) const
{
    switch (theme) {
    case ThemeName::Light:
        return m_light;
    case ThemeName::Dark:
        return m_dark;
    case ThemeName::Notch:
        break;
    }
    return m_notch;
}

QString Appearance::fontFamily() const
{
    return installedFamily(preferences().fontFamily, QFontDatabase::GeneralFont, "ui");
}

QString Appearance::fixedFontFamily() const
{
    return installedFamily(preferences().fixedFontFamily, QFontDatabase::FixedFont, "mono");
}

void Appearance::update()
{
    const auto highContrast = preferences().highContrast;
    m_light = paletteFor("light", highContrast);
    m_dark = paletteFor("dark", highContrast);
    m_notch = paletteFor("notch", highContrast);
}

} // namespace vantry
