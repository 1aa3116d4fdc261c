import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A scroll bar that is a thin line until the pointer is over it.
T.ScrollBar {
    id: root

    implicitWidth: Tokens.scrollBarWidth + leftPadding + rightPadding
    implicitHeight: Tokens.scrollBarWidth + topPadding + bottomPadding
    padding: Tokens.sp2
    minimumSize: 0.08
    hoverEnabled: true
    visible: size < 1 && policy !== T.ScrollBar.AlwaysOff
    Accessible.ignored: true

    contentItem: Item {
        Rectangle {
            readonly property real thickness: root.hovered || root.pressed ? Tokens.scrollBarWidth : Tokens.scrollBarWidth - 2

            anchors.right: parent.right
            anchors.bottom: parent.bottom
            width: root.orientation === Qt.Vertical ? thickness : parent.width
            height: root.orientation === Qt.Vertical ? parent.height : thickness
            radius: thickness / 2
            color: Theme.lineStrong
        }
    }
}
