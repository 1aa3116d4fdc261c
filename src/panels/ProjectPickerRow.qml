import QtQuick
import Vantry.Style

/// A project in which a session can be begun.
Item {
    id: root

    required property int index
    required property string name
    required property string timeText
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
        implicitHeight: Tokens.pickerRowHeight
        focusPolicy: Qt.NoFocus
        highlighted: root.isHighlighted
        text: root.accessibleText
        onClicked: root.opened()

        Symbol {
            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp8 + 1
            anchors.verticalCenter: parent.verticalCenter
            name: "folder"
            size: Tokens.iconSmall
        }
        Label {
            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp32
            anchors.right: end.left
            anchors.rightMargin: Tokens.sp12
            anchors.verticalCenter: parent.verticalCenter
            text: root.name
            textStyle: Tokens.control
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
}
