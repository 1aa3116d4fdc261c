import QtQuick
import Vantry.Style

/// One thing that the program is good for.
Rectangle {
    id: root

    required property string symbol
    required property string title
    required property string caption

    implicitHeight: Math.max(74, texts.implicitHeight + 2 * Tokens.sp12)
    radius: Tokens.radiusRow
    color: Theme.raised
    border.width: Tokens.borderWidth
    border.color: Theme.line
    Accessible.role: Accessible.ListItem
    Accessible.name: qsTr("%1, %2").arg(title).arg(caption)

    Symbol {
        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12
        anchors.top: texts.top
        anchors.topMargin: 1
        name: root.symbol
    }
    Column {
        id: texts

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12 + Tokens.iconRegular + Tokens.sp8 + Tokens.sp2
        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp8
        y: Tokens.sp12

        Label {
            width: parent.width
            text: root.title
            textStyle: Tokens.row
            Accessible.ignored: true
        }
        Label {
            width: parent.width
            wrapMode: Text.Wrap
            text: root.caption
            textStyle: Tokens.meta
            color: Theme.text2
            Accessible.ignored: true
        }
    }
}
