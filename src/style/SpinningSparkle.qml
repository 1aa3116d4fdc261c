import QtQuick
import Vantry.Style

/// The sparkle of a session that works. It stands still with reduced motion, and while nobody can see it.
SymbolShape {
    id: root

    property bool running: true
    readonly property bool turns: running && visible && Window.visibility !== Window.Hidden && !Tokens.reducedMotion

    name: "sparkle"
    size: Tokens.iconSmall
    color: Theme.working
    angle: turns ? SpinClock.angle : 0
    Accessible.ignored: true

    onTurnsChanged: SpinClock.users += turns ? 1 : -1
    Component.onDestruction: SpinClock.users -= turns ? 1 : 0
}
