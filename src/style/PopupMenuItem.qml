import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// An entry of a menu.
T.MenuItem {
    id: root

    property string symbol
    /// It ends or removes something.
    property bool destructive: false
    readonly property color color: destructive ? Theme.error : Theme.text

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: visible ? 26 : 0
    horizontalPadding: Tokens.sp8
    opacity: enabled ? 1 : Tokens.disabledOpacity
    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.onPressAction: triggered()

    contentItem: Item {
        implicitWidth: label.x + label.implicitWidth

        Symbol {
            anchors.left: parent.left
            anchors.verticalCenter: parent.verticalCenter
            visible: root.symbol !== ""
            name: root.symbol
            size: Tokens.iconSmall
            color: root.destructive ? Theme.error : Theme.text2
        }
        Label {
            id: label

            anchors.left: parent.left
            anchors.leftMargin: root.symbol === "" ? 0 : Tokens.iconSmall + Tokens.sp8
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            color: root.color
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: Tokens.radiusChip
        color: root.down ? Theme.pressed : root.highlighted ? Theme.hover : "transparent"
    }
}
