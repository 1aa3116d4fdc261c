#include "style/DesignTokens.h"

#include "style/Appearance.h"
#include "style/Theme.h"
#include "style/Tokens.h"
#include "support/FakeDesktopPreferences.h"

#include <QMetaProperty>
#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

using namespace Qt::StringLiterals;

namespace vantry::test {
namespace {

constexpr std::array themeNames { "light", "dark", "notch" };

QSet<QString> keysOf(const nlohmann::json &object)
{
    QSet<QString> keys;
    for (const auto &[key, value] : object.items())
        keys.insert(QString::fromStdString(key));
    return keys;
}

QSet<QString> propertiesOfType(const QMetaObject &type, QMetaType valueType)
{
    QSet<QString> names;
    for (int i = type.propertyOffset(); i < type.propertyCount(); ++i) {
        if (type.property(i).metaType() == valueType)
            names.insert(QString::fromLatin1(type.property(i).name()));
    }
    return names;
}

/// How bright a colour is for the contrast rules of web content.
double luminance(const QColor &color)
{
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const auto [darker, lighter] = std::minmax({ luminance(a), luminance(b) });
    return (lighter + 0.05) / (darker + 0.05);
}

TEST(DesignTokensTest, everyColorOfTheFileIsAPropertyAndTheOtherWayRound)
{
    const auto properties = propertiesOfType(Theme::staticMetaObject, QMetaType::fromType<QColor>());
    for (const auto *theme : themeNames)
        EXPECT_EQ(keysOf(designTokens::document().at("colors").at(theme)), properties) << theme;
}

TEST(DesignTokensTest, everyLengthOfTheFileIsAPropertyWithItsValue)
{
    FakeDesktopPreferences preferences;
    const Appearance appearance(preferences);
    const Tokens tokens(appearance);
    auto properties = propertiesOfType(Tokens::staticMetaObject, QMetaType::fromType<qreal>());
    properties -= { u"disabledOpacity"_s, u"borderWidth"_s, u"screenShift"_s, u"textScale"_s };
    EXPECT_EQ(keysOf(designTokens::document().at("lengths")), properties);
    for (const auto &[name, value] : designTokens::document().at("lengths").items())
        EXPECT_EQ(tokens.property(name.c_str()).toDouble(), value.get<double>()) << name;
}

TEST(DesignTokensTest, everyTextStyleOfTheFileIsAPropertyWithItsValues)
{
    FakeDesktopPreferences preferences;
    const Appearance appearance(preferences);
    const Tokens tokens(appearance);
    const auto &styles = designTokens::document().at("textStyles");
    EXPECT_EQ(keysOf(styles), propertiesOfType(Tokens::staticMetaObject, QMetaType::fromType<TextStyle>()));
    for (const auto &[name, style] : styles.items()) {
        const auto actual = tokens.property(name.c_str()).value<TextStyle>();
        EXPECT_EQ(actual.font().pixelSize(), style.at("px").get<int>()) << name;
        EXPECT_EQ(int(actual.font().weight()), style.at("weight").get<int>()) << name;
        EXPECT_EQ(actual.lineHeight(), style.at("line").get<double>()) << name;
        EXPECT_EQ(actual.font().styleHint() == QFont::Monospace, style.contains("family")) << name;
    }
}

TEST(DesignTokensTest, everyColorIsValid)
{
    for (const auto *theme : themeNames) {
        const auto palette = designTokens::palette(theme);
#define VANTRY_EXPECT_VALID(name) EXPECT_TRUE(palette.name.isValid()) << theme << " " << #name;
        VANTRY_COLORS(VANTRY_EXPECT_VALID)
#undef VANTRY_EXPECT_VALID
    }
}

TEST(DesignTokensTest, textIsReadableOnEveryGround)
{
    for (const auto *theme : themeNames) {
        const auto p = designTokens::palette(theme);
        for (const auto &text : { p.text, p.text2, p.text3, p.accentText, p.ready, p.error, p.link }) {
            for (const auto &ground : { p.bg, p.raised, p.sunken, p.tint })
                EXPECT_GE(contrast(text, ground), 4.5) << theme << qPrintable(text.name() + ground.name());
        }
        for (const auto &text : { p.text, p.text2, p.text3 }) {
            for (const auto &ground : { p.hover, p.pressed, p.selection })
                EXPECT_GE(contrast(text, ground), 4.5) << theme << qPrintable(text.name() + ground.name());
        }
        EXPECT_GE(contrast(p.onAccentFill, p.accentFill), 4.5) << theme;
        EXPECT_GE(contrast(p.onInk, p.ink), 4.5) << theme;
        EXPECT_GE(contrast(p.onBubble, p.bubble), 4.5) << theme;
    }
}

TEST(DesignTokensTest, glyphsAndTheFocusRingStandOut)
{
    for (const auto *theme : themeNames) {
        const auto p = designTokens::palette(theme);
        for (const auto &color : { p.accentGlyph, p.readyDot, p.focus })
            EXPECT_GE(contrast(color, p.bg), 3) << theme << qPrintable(color.name());
    }
}

TEST(DesignTokensTest, contrastWithTheGroundIsAsDesigned)
{
    struct Figures
    {
        const char *theme;
        std::array<double, 12> figures;
    };
    // text, text2, text3, accentText, accentGlyph, ready, error, warn, link; then bubble, ink and accentFill with their
    // texts.
    const Figures designed[] = { { "light", { 16.5, 7.7, 5.6, 5.9, 3.4, 6.1, 6.3, 5.7, 5.8, 13.2, 13.4, 5.2 } },
                                 { "dark", { 14.4, 8.4, 6.6, 8.0, 6.0, 7.6, 6.7, 8.7, 8.2, 10.4, 14.2, 5.2 } },
                                 { "notch", { 18.9, 10.4, 8.2, 10.0, 7.5, 9.4, 8.4, 10.8, 10.2, 11.8, 14.2, 5.2 } } };
    for (const auto &[theme, figures] : designed) {
        const auto p = designTokens::palette(theme);
        const std::array actual { contrast(p.text, p.bg),        contrast(p.text2, p.bg),
                                  contrast(p.text3, p.bg),       contrast(p.accentText, p.bg),
                                  contrast(p.accentGlyph, p.bg), contrast(p.ready, p.bg),
                                  contrast(p.error, p.bg),       contrast(p.warn, p.bg),
                                  contrast(p.link, p.bg),        contrast(p.onBubble, p.bubble),
                                  contrast(p.onInk, p.ink),      contrast(p.onAccentFill, p.accentFill) };
        for (std::size_t i = 0; i < actual.size(); ++i)
            EXPECT_NEAR(actual[i], figures[i], 0.1) << theme << " " << i;
    }
}

TEST(AppearanceTest, highContrastDropsTintsAndMakesEveryTextAndLineReadable)
{
    FakeDesktopPreferences preferences;
    const Appearance appearance(preferences);
    const Tokens tokens(appearance);
    EXPECT_EQ(tokens.borderWidth(), 1);
    preferences.set({ .highContrast = true });
    EXPECT_EQ(tokens.borderWidth(), 2);
    for (const auto theme :
         { Appearance::ThemeName::Light, Appearance::ThemeName::Dark, Appearance::ThemeName::Notch }) {
        const auto &p = appearance.palette(theme);
        EXPECT_EQ(p.line, p.text3);
        EXPECT_EQ(p.added, p.ready);
        EXPECT_EQ(p.removed, p.error);
        EXPECT_EQ(p.tint, p.bg);
        EXPECT_GE(contrast(p.tintLine, p.bg), 3);
        EXPECT_GE(contrast(p.lineStrong, p.bg), 3);
    }
}

TEST(AppearanceTest, reducedMotionLeavesNoMovementAndShortFades)
{
    FakeDesktopPreferences preferences;
    const Appearance appearance(preferences);
    const Tokens tokens(appearance);
    EXPECT_EQ(tokens.screenMs(), 160);
    EXPECT_EQ(tokens.screenShift(), 12);
    EXPECT_EQ(tokens.rowMoveMs(), 180);
    preferences.set({ .reducedMotion = true });
    EXPECT_TRUE(tokens.reducedMotion());
    EXPECT_EQ(tokens.screenMs(), 100);
    EXPECT_EQ(tokens.screenShift(), 0);
    EXPECT_EQ(tokens.rowMoveMs(), 0);
    EXPECT_EQ(tokens.expandMs(), 0);
}

TEST(AppearanceTest, takesTheDesktopsFontsWhenTheyAreInstalled)
{
    FakeDesktopPreferences preferences;
    const Appearance appearance(preferences);
    preferences.set({ .fontFamily = u"DejaVu Sans"_s, .fixedFontFamily = u"dejavu sans mono"_s });
    EXPECT_EQ(appearance.fontFamily(), u"DejaVu Sans"_s);
    EXPECT_EQ(appearance.fixedFontFamily(), u"dejavu sans mono"_s);
    preferences.set({ .fontFamily = u"No Such Family"_s, .fixedFontFamily = u"Monospace"_s });
    EXPECT_FALSE(appearance.fontFamily().contains(u"No Such"_s));
    EXPECT_NE(appearance.fixedFontFamily(), u"Monospace"_s);
}

TEST(AppearanceTest, fontsChangeWhileItRuns)
{
    FakeDesktopPreferences preferences;
    const Appearance appearance(preferences);
    const Tokens tokens(appearance);
    int changes = 0;
    QObject::connect(&tokens, &Tokens::fontsChanged, &tokens, [&] { ++changes; });
    preferences.set({ .fontFamily = u"DejaVu Serif"_s });
    EXPECT_EQ(tokens.body().font().family(), u"DejaVu Serif"_s);
    EXPECT_EQ(changes, 1);
    preferences.set({ .prefersDark = true, .fontFamily = u"DejaVu Serif"_s });
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace vantry::test
