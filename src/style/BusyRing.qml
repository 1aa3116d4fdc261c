import QtQuick
import Vantry.Style

/// A ring that turns while something takes its time.
ArcShape {
    id: root

    size: Tokens.iconSmall
    color: Theme.text2
    Accessible.ignored: true

    NumberAnimation on angle {
        running: root.visible && root.Window.visibility !== Window.Hidden && !Tokens.reducedMotion
        from: 0
        to: 360
        duration: 1000
        loops: Animation.Infinite
    }
}
