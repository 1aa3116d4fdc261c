import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A button that is a symbol alone. Its text is its name and its tooltip.
T.Button {
    id: root

    property string symbol
    property real size: Tokens.iconButtonSize
    property real symbolSize: Tokens.iconRegular
    property color color: Theme.text2
    /// Why it can't be used now; empty while it can.
    property string disabledReason
    readonly property bool usable: enabled && disabledReason === ""

    implicitWidth: size
    implicitHeight: size
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: usable ? 1 : Tokens.disabledOpacity
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: disabledReason
    Accessible.onPressAction: guard.press()

    Keys.onSpacePressed: event => event.accepted = !root.usable
    Keys.onReturnPressed: guard.press()
    Keys.onEnterPressed: guard.press()

    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: root.symbol
            size: root.symbolSize
            color: root.color
        }
    }
    background: ControlSurface {
        radius: Tokens.radiusControl
        hovered: root.hovered && root.usable
        pressed: root.down && root.usable
    }

    FocusRing {
        inside: true
    }
    PressGuard {
        id: guard

        button: root
        usable: root.usable
    }
    HoverTip {
        text: root.disabledReason !== "" ? root.disabledReason : root.text
        focused: root.visualFocus
    }
}
