import QtQuick
import Vantry.Style

/// Something that can be done, with what it does, and what came of it.
Item {
    id: root

    required property string title
    property string note
    /// The note is a path.
    property bool isPath: false
    property string outcome
    required property string action
    /// The button's, for those who look for it.
    property string actionName

    signal acted

    width: parent?.width ?? 0
    implicitHeight: texts.implicitHeight + 2 * (Tokens.sp8 + Tokens.sp2)

    Column {
        id: texts

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12
        anchors.right: button.left
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        spacing: Tokens.sp2

        Label {
            width: parent.width
            text: root.title
            textStyle: Tokens.control
        }
        Label {
            width: parent.width
            text: root.note
            textStyle: root.isPath ? Tokens.code : Tokens.meta
            color: Theme.text2
            wrapMode: root.isPath ? Text.WrapAtWordBoundaryOrAnywhere : Text.Wrap
        }
        Label {
            objectName: "outcome"
            width: parent.width
            visible: text !== ""
            text: root.outcome
            textStyle: Tokens.meta
            color: Theme.ready
            wrapMode: Text.Wrap
        }
    }
    Button {
        id: button

        objectName: root.actionName
        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        size: Button.Regular
        text: root.action
        onClicked: root.acted()
    }
}
