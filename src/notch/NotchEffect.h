#pragma once

#include <QString>

namespace vantry {

/// What NotchController is to do after an input.
struct NotchEffect
{
    enum class Kind {
        showPeek,    ///< Open the peek card of a session.
        showCompact, ///< Show the notch in its compact form.
        dismissPeek, ///< Close the peek card.
        expand,      ///< Open the notch to its expanded form, with the keyboard.
        collapse,    ///< Bring the notch back from expanded to compact.
        hide         ///< Take the notch off the screen.
    };

    Kind kind;
    QString sessionID {}; ///< Of `showPeek`; empty in all others.

    friend bool operator==(const NotchEffect &, const NotchEffect &) = default;
};

} // namespace vantry
