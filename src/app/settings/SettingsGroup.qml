import QtQuick
import Vantry.Style

/// Rows of settings that belong together, in a frame, under their title.
Column {
    id: root

    property string title
    default property alias rows: column.data

    width: parent?.width ?? 0

    SectionHeader {
        x: Tokens.sp2
        width: parent.width - x
        visible: root.title !== ""
        title: root.title
        tint: Theme.text
    }
    Rectangle {
        width: parent.width
        height: column.height
        radius: Tokens.radiusRow
        color: Theme.raised
        border.width: Tokens.borderWidth
        border.color: Theme.line

        Column {
            id: column

            width: parent.width
        }
    }
}
