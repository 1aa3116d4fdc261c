#pragma once

#include "style/TextStyle.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace vantry {

class Appearance;

/// Calls a macro with the name of every length of the design.
// clang-format off
#define VANTRY_LENGTHS(use) \
    use(sp2) use(sp4) use(sp6) use(sp8) use(sp12) use(sp16) use(sp20) use(sp24) use(sp32) use(radiusChip) \
    use(radiusControl) use(radiusRow) use(radiusBubble) use(radiusPanel) use(radiusPeek) use(radiusFloating) \
    use(panelWidth) use(panelHeight) use(settingsMinWidth) use(settingsMinHeight) use(headerHeight) \
    use(footerHeight) use(sectionHeaderHeight) use(newSessionRowHeight) use(sessionRowHeight) \
    use(permissionRowHeight) use(questionRowMinHeight) use(resultRowHeight) use(pickerRowHeight) \
    use(actionRowHeight) use(modeRowHeight) use(toolRowHeight) use(inputBarHeight) use(chatFooterHeight) \
    use(iconButtonSize) use(buttonSmall) use(button) use(buttonLarge) use(fieldHeight) use(switchWidth) \
    use(switchHeight) use(iconTiny) use(iconSmall) use(iconRegular) use(iconLarge) use(iconHero) \
    use(iconEmptyState) use(contextPieSize) use(contextBarWidth) use(contextBarHeight) use(stateDotSize) \
    use(scrollBarWidth) use(hitMin) use(focusRingWidth) use(focusRingOffset)

/// Calls a macro with the name of every text style of the design.
#define VANTRY_TEXT_STYLES(use) \
    use(display) use(title) use(heading) use(row) use(rowMedium) use(control) use(body) use(bodyMedium) use(bodyStrong) \
    use(section) use(meta) \
    use(capsule) use(code) use(codeStrong) use(diff) use(codeLabel) use(context)
// clang-format on

/// The design's sizes, text styles and durations, with the desktop's preferences applied: lengths in logical pixels at
/// text scale 1.0, durations in milliseconds. Nothing is multiplied by the text scale but the window's root item and
/// each popup. Main thread only.
class Tokens final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(qreal sp2 READ sp2 CONSTANT)
    Q_PROPERTY(qreal sp4 READ sp4 CONSTANT)
    Q_PROPERTY(qreal sp6 READ sp6 CONSTANT)
    Q_PROPERTY(qreal sp8 READ sp8 CONSTANT)
    Q_PROPERTY(qreal sp12 READ sp12 CONSTANT)
    Q_PROPERTY(qreal sp16 READ sp16 CONSTANT)
    Q_PROPERTY(qreal sp20 READ sp20 CONSTANT)
    Q_PROPERTY(qreal sp24 READ sp24 CONSTANT)
    Q_PROPERTY(qreal sp32 READ sp32 CONSTANT)
    Q_PROPERTY(qreal radiusChip READ radiusChip CONSTANT)
    Q_PROPERTY(qreal radiusControl READ radiusControl CONSTANT)
    Q_PROPERTY(qreal radiusRow READ radiusRow CONSTANT)
    Q_PROPERTY(qreal radiusBubble READ radiusBubble CONSTANT)
    Q_PROPERTY(qreal radiusPanel READ radiusPanel CONSTANT)
    Q_PROPERTY(qreal radiusPeek READ radiusPeek CONSTANT)
    Q_PROPERTY(qreal radiusFloating READ radiusFloating CONSTANT)
    Q_PROPERTY(qreal panelWidth READ panelWidth CONSTANT)
    Q_PROPERTY(qreal panelHeight READ panelHeight CONSTANT)
    Q_PROPERTY(qreal settingsMinWidth READ settingsMinWidth CONSTANT)
    Q_PROPERTY(qreal settingsMinHeight READ settingsMinHeight CONSTANT)
    Q_PROPERTY(qreal headerHeight READ headerHeight CONSTANT)
    Q_PROPERTY(qreal footerHeight READ footerHeight CONSTANT)
    Q_PROPERTY(qreal sectionHeaderHeight READ sectionHeaderHeight CONSTANT)
    Q_PROPERTY(qreal newSessionRowHeight READ newSessionRowHeight CONSTANT)
    Q_PROPERTY(qreal sessionRowHeight READ sessionRowHeight CONSTANT)
    Q_PROPERTY(qreal permissionRowHeight READ permissionRowHeight CONSTANT)
    Q_PROPERTY(qreal questionRowMinHeight READ questionRowMinHeight CONSTANT)
    Q_PROPERTY(qreal resultRowHeight READ resultRowHeight CONSTANT)
    Q_PROPERTY(qreal pickerRowHeight READ pickerRowHeight CONSTANT)
    Q_PROPERTY(qreal actionRowHeight READ actionRowHeight CONSTANT)
    Q_PROPERTY(qreal modeRowHeight READ modeRowHeight CONSTANT)
    Q_PROPERTY(qreal toolRowHeight READ toolRowHeight CONSTANT)
    Q_PROPERTY(qreal inputBarHeight READ inputBarHeight CONSTANT)
    Q_PROPERTY(qreal chatFooterHeight READ chatFooterHeight CONSTANT)
    Q_PROPERTY(qreal iconButtonSize READ iconButtonSize CONSTANT)
    Q_PROPERTY(qreal buttonSmall READ buttonSmall CONSTANT)
    Q_PROPERTY(qreal button READ button CONSTANT)
    Q_PROPERTY(qreal buttonLarge READ buttonLarge CONSTANT)
    Q_PROPERTY(qreal fieldHeight READ fieldHeight CONSTANT)
    Q_PROPERTY(qreal switchWidth READ switchWidth CONSTANT)
    Q_PROPERTY(qreal switchHeight READ switchHeight CONSTANT)
    Q_PROPERTY(qreal iconTiny READ iconTiny CONSTANT)
    Q_PROPERTY(qreal iconSmall READ iconSmall CONSTANT)
    Q_PROPERTY(qreal iconRegular READ iconRegular CONSTANT)
    Q_PROPERTY(qreal iconLarge READ iconLarge CONSTANT)
    Q_PROPERTY(qreal iconHero READ iconHero CONSTANT)
    Q_PROPERTY(qreal iconEmptyState READ iconEmptyState CONSTANT)
    Q_PROPERTY(qreal contextPieSize READ contextPieSize CONSTANT)
    Q_PROPERTY(qreal contextBarWidth READ contextBarWidth CONSTANT)
    Q_PROPERTY(qreal contextBarHeight READ contextBarHeight CONSTANT)
    Q_PROPERTY(qreal stateDotSize READ stateDotSize CONSTANT)
    Q_PROPERTY(qreal scrollBarWidth READ scrollBarWidth CONSTANT)
    Q_PROPERTY(qreal hitMin READ hitMin CONSTANT)
    Q_PROPERTY(qreal focusRingWidth READ focusRingWidth CONSTANT)
    Q_PROPERTY(qreal focusRingOffset READ focusRingOffset CONSTANT)

    Q_PROPERTY(vantry::TextStyle display READ display NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle title READ title NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle heading READ heading NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle row READ row NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle rowMedium READ rowMedium NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle control READ control NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle body READ body NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle bodyMedium READ bodyMedium NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle bodyStrong READ bodyStrong NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle section READ section NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle meta READ meta NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle capsule READ capsule NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle code READ code NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle codeStrong READ codeStrong NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle diff READ diff NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle codeLabel READ codeLabel NOTIFY fontsChanged)
    Q_PROPERTY(vantry::TextStyle context READ context NOTIFY fontsChanged)

    /// How opaque what can't be used is.
    Q_PROPERTY(qreal disabledOpacity READ disabledOpacity CONSTANT)
    /// Of a control's or a card's border: 1, and 2 with high contrast.
    Q_PROPERTY(qreal borderWidth READ borderWidth NOTIFY changed)
    Q_PROPERTY(int hoverMs READ hoverMs NOTIFY changed)
    Q_PROPERTY(int pressMs READ pressMs NOTIFY changed)
    Q_PROPERTY(int screenMs READ screenMs NOTIFY changed)
    Q_PROPERTY(int rowMoveMs READ rowMoveMs NOTIFY changed)
    Q_PROPERTY(int expandMs READ expandMs NOTIFY changed)
    Q_PROPERTY(int pulseMs READ pulseMs NOTIFY changed)
    Q_PROPERTY(int spinMs READ spinMs NOTIFY changed)
    /// How far a new screen comes from aside.
    Q_PROPERTY(qreal screenShift READ screenShift NOTIFY changed)
    Q_PROPERTY(bool reducedMotion READ reducedMotion NOTIFY changed)
    Q_PROPERTY(bool highContrast READ highContrast NOTIFY changed)
    Q_PROPERTY(qreal textScale READ textScale NOTIFY changed)

public:
    explicit Tokens(const Appearance &appearance);
    /// For the QML engine.
    static Tokens *create(QQmlEngine *engine, QJSEngine *scriptEngine);

#define VANTRY_LENGTH_GETTER(name)                                                                                     \
    [[nodiscard]] qreal name() const                                                                                   \
    {                                                                                                                  \
        return m_lengths.name;                                                                                         \
    }
    VANTRY_LENGTHS(VANTRY_LENGTH_GETTER)
#undef VANTRY_LENGTH_GETTER
#define VANTRY_TEXT_STYLE_GETTER(name)                                                                                 \
    [[nodiscard]] TextStyle name() const                                                                               \
    {                                                                                                                  \
        return m_textStyles.name;                                                                                      \
    }
    VANTRY_TEXT_STYLES(VANTRY_TEXT_STYLE_GETTER)
#undef VANTRY_TEXT_STYLE_GETTER

    [[nodiscard]] qreal disabledOpacity() const
    {
        return m_disabledOpacity;
    }
    [[nodiscard]] qreal borderWidth() const;
    [[nodiscard]] int hoverMs() const
    {
        return m_durations.hoverMs;
    }
    [[nodiscard]] int pressMs() const
    {
        return m_durations.pressMs;
    }
    [[nodiscard]] int screenMs() const;
    [[nodiscard]] int rowMoveMs() const;
    [[nodiscard]] int expandMs() const;
    [[nodiscard]] int pulseMs() const
    {
        return m_durations.pulseMs;
    }
    [[nodiscard]] int spinMs() const
    {
        return m_durations.spinMs;
    }
    [[nodiscard]] qreal screenShift() const;
    [[nodiscard]] bool reducedMotion() const;
    [[nodiscard]] bool highContrast() const;
    [[nodiscard]] qreal textScale() const;

Q_SIGNALS:
    void changed();
    void fontsChanged();

private:
    struct Lengths
    {
#define VANTRY_LENGTH_MEMBER(name) qreal name;
        VANTRY_LENGTHS(VANTRY_LENGTH_MEMBER)
#undef VANTRY_LENGTH_MEMBER
    };
    struct TextStyles
    {
#define VANTRY_TEXT_STYLE_MEMBER(name) TextStyle name;
        VANTRY_TEXT_STYLES(VANTRY_TEXT_STYLE_MEMBER)
#undef VANTRY_TEXT_STYLE_MEMBER
    };
    struct Durations
    {
        int hoverMs, pressMs, screenMs, rowMoveMs, expandMs, pulseMs, spinMs;
    };

    void takeFonts();

    const Appearance &m_appearance;
    Lengths m_lengths;
    TextStyles m_textStyles;
    Durations m_durations;
    qreal m_disabledOpacity;
    qreal m_screenShift;
};

} // namespace vantry
