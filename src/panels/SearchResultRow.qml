import QtQuick
import Vantry.Style

/// A remembered session.
Item {
    id: root

    required property int index
    required property string name
    required property string branch
    required property string timeText
    required property string snippet
    required property string toolSymbol
    required property string accessibleText
    /// Chosen by the arrow keys.
    required property bool isHighlighted

    signal opened

    implicitHeight: row.height
    // Else assistive programs would still find it while it waits to be used again.
    ListView.onPooled: visible = false
    ListView.onReused: visible = true

    // Opaque, so that what was drawn here before is surely drawn over.
    Rectangle {
        anchors.fill: parent
        color: Theme.bg
    }
    ListRow {
        id: row

        x: Tokens.sp8
        width: parent.width - 2 * x
        implicitHeight: Tokens.resultRowHeight
        focusPolicy: Qt.NoFocus
        highlighted: root.isHighlighted
        text: root.accessibleText
        onClicked: root.opened()

        Symbol {
            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp8 + 1
            anchors.verticalCenter: title.verticalCenter
            name: root.toolSymbol
            size: Tokens.iconSmall
        }
        SessionTitleLine {
            id: title

            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp32
            anchors.right: time.left
            anchors.rightMargin: Tokens.sp12
            anchors.top: parent.top
            anchors.topMargin: root.snippet === "" ? (parent.height - height) / 2 : 5
            name: root.name
            branch: root.branch
        }
        Label {
            anchors.left: title.left
            anchors.right: time.left
            anchors.rightMargin: Tokens.sp8
            anchors.top: title.bottom
            text: root.snippet
            textStyle: Tokens.meta
            color: Theme.text3
            Accessible.ignored: true
        }
        Label {
            id: time

            anchors.right: parent.right
            anchors.rightMargin: Tokens.sp8
            anchors.verticalCenter: title.verticalCenter
            text: root.timeText
            textStyle: Tokens.meta
            color: Theme.text3
            Accessible.ignored: true
        }
    }
}
