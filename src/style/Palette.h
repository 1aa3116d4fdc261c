#pragma once

#include <QColor>

namespace vantry {

/// Calls a macro with the name of every colour of the design.
// clang-format off
#define VANTRY_COLORS(use) \
    use(bg) use(page) use(raised) use(sunken) use(hover) use(pressed) use(line) use(lineStrong) use(text) \
    use(text2) use(text3) use(disabled) use(accent) use(accentGlyph) use(bypass) use(accentText) use(accentFill) \
    use(accentFillHover) use(accentFillPressed) use(onAccentFill) use(tint) use(tintHover) use(tintLine) \
    use(ready) use(readyDot) use(error) use(errorTint) use(errorLine) use(warn) use(warnDot) use(working) \
    use(link) use(focus) use(selection) use(bubble) use(onBubble) use(bubbleCode) use(ink) use(inkHover) \
    use(inkPressed) use(onInk) use(added) use(removed) use(record) use(shadow)
// clang-format on

/// The colours of one theme.
struct Palette
{
#define VANTRY_COLOR_MEMBER(name) QColor name;
    VANTRY_COLORS(VANTRY_COLOR_MEMBER)
#undef VANTRY_COLOR_MEMBER

    friend bool operator==(const Palette &, const Palette &) = default;
};

} // namespace vantry
