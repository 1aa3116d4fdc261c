import QtQuick
import Vantry.Style

/// One setting: its name, and at its end the control that changes it, which is its only child.
Item {
    id: root

    required property string label
    /// It turns on or off what stands below it.
    property bool isMaster: false
    /// It belongs to the one above that turns it on or off.
    property bool isChild: false
    /// Below the name; empty: none.
    property string note
    /// It can't be used now.
    property bool isDimmed: false
    property bool isFirst: false
    default property alias control: slot.data

    width: parent?.width ?? 0
    implicitHeight: Math.max(38, texts.implicitHeight + 2 * Tokens.sp8)

    Hairline {
        x: Tokens.borderWidth
        width: parent.width - 2 * x
        visible: !root.isFirst
    }
    Column {
        id: texts

        anchors.left: parent.left
        anchors.leftMargin: root.isChild ? Tokens.sp12 + Tokens.sp16 : Tokens.sp12
        anchors.right: slot.left
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        spacing: Tokens.sp2

        Label {
            width: parent.width
            visible: text !== ""
            text: root.label
            textStyle: root.isMaster ? Tokens.row : Tokens.control
            opacity: root.isDimmed ? Tokens.disabledOpacity : 1
            Accessible.ignored: true
        }
        Label {
            width: parent.width
            visible: text !== ""
            text: root.note
            textStyle: Tokens.meta
            color: Theme.text2
            wrapMode: Text.Wrap
        }
    }
    Item {
        id: slot

        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: childrenRect.width
        implicitHeight: childrenRect.height
    }
}
