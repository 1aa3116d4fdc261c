import QtQuick
import Vantry.Style

/// One of a project's latest sessions.
ListRow {
    id: root

    required property string title
    required property string timeText

    implicitHeight: Tokens.newSessionRowHeight
    text: qsTr("%1, %2").arg(title).arg(timeText)

    Symbol {
        id: picture

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter
        name: "text.bubble"
        size: Tokens.iconSmall
    }
    Label {
        anchors.left: picture.right
        anchors.leftMargin: Tokens.sp8
        anchors.right: end.left
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        text: root.title
        Accessible.ignored: true
    }
    RowEnd {
        id: end

        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter
        timeText: root.timeText
    }
}
