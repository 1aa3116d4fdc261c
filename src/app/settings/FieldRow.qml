import QtQuick
import Vantry.Style

/// A setting that is typed: its name, and the field, which is its only child.
Item {
    id: root

    required property string label
    property bool isFirst: false
    default property alias field: slot.data

    width: parent?.width ?? 0
    implicitHeight: 38

    Hairline {
        x: Tokens.borderWidth
        width: parent.width - 2 * x
        visible: !root.isFirst
    }
    Label {
        id: name

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(86, implicitWidth)
        text: root.label
        textStyle: Tokens.control
        Accessible.ignored: true
    }
    Item {
        id: slot

        anchors.left: name.right
        anchors.leftMargin: Tokens.sp8
        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.top: parent.top
        anchors.bottom: parent.bottom
    }
}
