import QtQuick
import Vantry.Style

/// The second line of a session's row: what it is about to do or says, and for how long.
Item {
    id: root

    /// The tool that needs permission; empty where there is none.
    required property string tool
    required property string text
    required property color textColor
    required property string elapsedText

    implicitHeight: Tokens.meta.lineHeight

    Label {
        id: toolLabel

        anchors.left: parent.left
        width: Math.min(implicitWidth, (root.width - elapsed.width) / 2)
        visible: root.tool !== ""
        text: root.tool
        textStyle: Tokens.codeStrong
        Accessible.ignored: true
    }
    Label {
        anchors.left: root.tool === "" ? parent.left : toolLabel.right
        anchors.leftMargin: root.tool === "" ? 0 : Tokens.sp12
        anchors.right: elapsed.left
        anchors.rightMargin: Tokens.sp12
        text: root.text
        textStyle: root.tool === "" ? Tokens.meta : Tokens.code
        color: root.textColor
        Accessible.ignored: true
    }
    Label {
        id: elapsed

        anchors.right: parent.right
        text: root.elapsedText
        textStyle: Tokens.meta
        color: Theme.text3
        Accessible.ignored: true
    }
}
