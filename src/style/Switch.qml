import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// What is on or off. It shows what it is told, and only asks to be flipped: whoever owns the value decides.
T.AbstractButton {
    id: root

    property bool on: false
    /// Why it can't be flipped now; empty while it can. It keeps its place in the keyboard's order.
    property string disabledReason
    readonly property bool usable: enabled && disabledReason === ""

    signal flipped(bool on)

    implicitWidth: Tokens.switchWidth
    implicitHeight: Tokens.switchHeight
    checkable: true
    checked: on
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: usable ? 1 : Tokens.disabledOpacity
    Accessible.name: text
    Accessible.description: disabledReason
    Accessible.checked: on
    Accessible.onPressAction: guard.press()
    Accessible.onToggleAction: guard.press()

    Keys.onSpacePressed: event => event.accepted = !root.usable
    onClicked: {
        checked = Qt.binding(() => on);
        flipped(!on);
    }

    background: Rectangle {
        radius: height / 2
        color: root.on ? (root.down ? Theme.inkPressed : root.hovered && root.usable ? Theme.inkHover : Theme.ink) : Theme.lineStrong
        border.width: Tokens.highContrast ? Tokens.borderWidth : 0
        border.color: Theme.text2

        Behavior on color {
            ColorAnimation {
                duration: Tokens.hoverMs
            }
        }
    }
    contentItem: Item {
        Rectangle {
            readonly property bool atEnd: root.on !== root.mirrored

            x: atEnd ? parent.width - width - Tokens.sp2 : Tokens.sp2
            y: Tokens.sp2
            width: parent.height - 2 * y
            height: width
            radius: height / 2
            color: root.on ? Theme.onInk : Theme.onBubble

            Behavior on x {
                NumberAnimation {
                    duration: Tokens.reducedMotion ? 0 : Tokens.hoverMs
                    easing.type: Easing.OutQuad
                }
            }
        }
    }

    FocusRing {
        targetRadius: root.height / 2
    }
    PressGuard {
        id: guard

        button: root
        usable: root.usable
    }
    HoverTip {
        text: root.disabledReason
        focused: root.visualFocus
    }
}
