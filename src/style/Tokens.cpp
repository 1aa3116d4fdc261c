#include "style/Tokens.h"

#include "style/Appearance.h"
#include "style/DesignTokens.h"

#include <QQmlEngine>

#include <algorithm>

#include <nlohmann/json.hpp>

namespace vantry {
namespace {

struct Families
{
    QString interface;
    QString fixed;
};

TextStyle textStyle(const char *name, const Families &families)
{
    const auto &style = designTokens::document().at("textStyles").at(name);
    const auto isFixed = style.value("family", std::string()) == "mono";
    QFont font(isFixed ? families.fixed : families.interface);
    font.setPixelSize(style.at("px").get<int>());
    font.setWeight(QFont::Weight(style.at("weight").get<int>()));
    if (isFixed) {
        font.setStyleHint(QFont::Monospace);
        // Where the script doesn't need it, shaping only makes ligatures of operators.
        font.setStyleStrategy(QFont::PreferNoShaping);
    }
    return { font, style.at("line").get<qreal>() };
}

int duration(const char *name)
{
    return designTokens::document().at("durations").at(name).get<int>();
}

/// The longest cross-fade with reduced motion.
constexpr int reducedFadeMs = 100;

} // namespace

Tokens::Tokens(const Appearance &appearance)
    : m_appearance(appearance)
    , m_lengths {
#define VANTRY_LENGTH_VALUE(name) .name = designTokens::length(#name),
        VANTRY_LENGTHS(VANTRY_LENGTH_VALUE)
#undef VANTRY_LENGTH_VALUE
    }
    , m_durations { .hoverMs = duration("hoverMs"),
                    .pressMs = duration("pressMs"),
                    .screenMs = duration("screenMs"),
                    .rowMoveMs = duration("rowMoveMs"),
                    .expandMs = duration("expandMs"),
                    .pulseMs = duration("pulseMs"),
                    .spinMs = duration("spinMs") }
    , m_disabledOpacity(designTokens::document().at("opacities").at("disabled").get<qreal>())
    , m_screenShift(designTokens::document().at("screenShift").get<qreal>())
{
    takeFonts();
    connect(&m_appearance, &Appearance::changed, this, [this] {
        takeFonts();
        Q_EMIT changed();
    });
}

Tokens *Tokens::create(QQmlEngine *engine, QJSEngine * /*scriptEngine*/)
{
    return new Tokens(Appearance::of(engine));
}

void Tokens::takeFonts()
{
    const Families families { m_appearance.fontFamily(), m_appearance.fixedFontFamily() };
    const TextStyles styles {
#define VANTRY_TEXT_STYLE_VALUE(name) .name = textStyle(#name, families),
        VANTRY_TEXT_STYLES(VANTRY_TEXT_STYLE_VALUE)
#undef VANTRY_TEXT_STYLE_VALUE
    };
    const auto isSame = styles.body == m_textStyles.body && styles.code == m_textStyles.code;
    m_textStyles = styles;
    if (!isSame)
        Q_EMIT fontsChanged();
}

qreal Tokens::borderWidth() const
{
    return highContrast() ? 2 : 1;
}

int Tokens::screenMs() const
{
    return reducedMotion() ? std::min(m_durations.screenMs, reducedFadeMs) : m_durations.screenMs;
}

int Tokens::rowMoveMs() const
{
    return reducedMotion() ? 0 : m_durations.rowMoveMs;
}

int Tokens::expandMs() const
{
    return reducedMotion() ? 0 : m_durations.expandMs;
}

qreal Tokens::screenShift() const
{
    return reducedMotion() ? 0 : m_screenShift;
}

bool Tokens::reducedMotion() const
{
    return m_appearance.preferences().reducedMotion;
}

bool Tokens::highContrast() const
{
    return m_appearance.preferences().highContrast;
}

qreal Tokens::textScale() const
{
    return m_appearance.preferences().textScale;
}

} // namespace vantry
