import QtQuick
import Vantry.Style

/// Lets what is scrolled fade out at an edge, while more follows there.
Rectangle {
    id: root

    /// Of the ground that it fades into.
    property color ground: Theme.bg
    /// At the right edge; else at the bottom.
    property bool sideways: false

    implicitWidth: 28
    implicitHeight: 20
    Accessible.ignored: true
    gradient: Gradient {
        orientation: root.sideways ? Gradient.Horizontal : Gradient.Vertical

        GradientStop {
            position: 0
            color: Qt.alpha(root.ground, 0)
        }
        GradientStop {
            position: 1
            color: root.ground
        }
    }
}
