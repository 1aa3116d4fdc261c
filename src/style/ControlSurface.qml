import QtQuick
import Vantry.Style

/// What lies under a control: its colour at rest, under the pointer and pressed.
Rectangle {
    id: root

    property bool hovered: false
    property bool pressed: false
    property color restColor: Qt.alpha(Theme.hover, 0)
    property color hoverColor: Theme.hover
    property color pressedColor: Theme.pressed

    color: pressed ? pressedColor : hovered ? hoverColor : restColor

    Behavior on color {
        ColorAnimation {
            duration: root.pressed ? Tokens.pressMs : Tokens.hoverMs
            easing.type: Easing.OutQuad
        }
    }
}
