import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A button with a text, with a symbol before it where there is one.
T.Button {
    id: root

    enum Kind {
        Plain,
        Bordered,
        Accent,
        Ink
    }
    enum Size {
        Small,
        Regular,
        Large
    }

    property int kind: Button.Bordered
    property int size: Button.Small
    property string symbol
    property color textColor: [Theme.text, Theme.text, Theme.onAccentFill, Theme.onInk][kind]
    /// What was asked for is under way: a ring turns in the symbol's place.
    property bool busy: false
    /// What was asked for is done: the button says so, and keeps its width.
    property bool done: false
    /// Why it can't be used now; empty while it can. It keeps its place in the keyboard's order.
    property string disabledReason
    readonly property bool usable: enabled && disabledReason === "" && !busy && !done
    readonly property bool isFilled: kind === Button.Accent || kind === Button.Ink

    // Whole pixels, else a mirrored flow of buttons is a bit wider than its room.
    implicitWidth: Math.ceil(implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: [Tokens.buttonSmall, Tokens.button, Tokens.buttonLarge][size]
    horizontalPadding: [Tokens.sp8 + Tokens.sp2, Tokens.sp12, Tokens.sp16][size]
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: enabled && disabledReason === "" ? 1 : Tokens.disabledOpacity
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: disabledReason
    Accessible.onPressAction: guard.press()

    Keys.onSpacePressed: event => event.accepted = !root.usable
    Keys.onReturnPressed: guard.press()
    Keys.onEnterPressed: guard.press()

    contentItem: Item {
        implicitWidth: label.implicitWidth + label.iconWidth
        implicitHeight: label.implicitHeight

        Row {
            id: content

            anchors.centerIn: parent
            spacing: Tokens.sp6
            opacity: root.done ? 0 : 1

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                visible: root.symbol !== "" && !root.busy
                name: root.symbol
                size: Tokens.iconSmall
                color: root.textColor
            }
            BusyRing {
                anchors.verticalCenter: parent.verticalCenter
                visible: root.busy
                size: Tokens.iconTiny
                color: root.textColor
            }
            Label {
                id: label

                readonly property real iconWidth: root.busy || root.symbol !== "" ? Tokens.iconSmall + content.spacing : 0

                width: Math.min(implicitWidth, root.availableWidth - iconWidth)
                text: root.text
                textStyle: root.isFilled ? Tokens.bodyStrong : Tokens.bodyMedium
                color: root.textColor
                Accessible.ignored: true
            }
        }
        Symbol {
            anchors.centerIn: parent
            visible: root.done && root.size === Button.Small
            name: "checkmark"
            size: Tokens.iconSmall
            color: root.textColor
        }
        Label {
            anchors.centerIn: parent
            visible: root.done && root.size !== Button.Small
            text: qsTr("Done")
            textStyle: label.textStyle
            color: root.textColor
            Accessible.ignored: true
        }
    }
    background: ControlSurface {
        radius: Tokens.radiusControl
        hovered: root.hovered && root.usable
        pressed: root.down && root.usable
        restColor: [Qt.alpha(Theme.hover, 0), Theme.raised, Theme.accentFill, Theme.ink][root.kind]
        hoverColor: [Theme.hover, Theme.hover, Theme.accentFillHover, Theme.inkHover][root.kind]
        pressedColor: [Theme.pressed, Theme.pressed, Theme.accentFillPressed, Theme.inkPressed][root.kind]
        border.width: root.kind === Button.Bordered ? Tokens.borderWidth : 0
        border.color: Theme.lineStrong
    }

    FocusRing {}
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
