import QtQuick
import Vantry.Style

/// The title of a section of a list, with how many it holds.
Item {
    id: root

    property string title
    /// Not shown below 0.
    property int count: -1
    property color tint: Theme.text2

    implicitHeight: Tokens.sectionHeaderHeight
    implicitWidth: row.implicitWidth
    Accessible.role: Accessible.Heading
    Accessible.name: title

    Row {
        id: row

        anchors.verticalCenter: parent.verticalCenter
        anchors.left: parent.left
        spacing: Tokens.sp6

        Label {
            text: root.title
            textStyle: Tokens.section
            color: root.tint
            Accessible.ignored: true
        }
        Label {
            visible: root.count >= 0
            text: root.count.toLocaleString(Qt.locale(), "f", 0)
            textStyle: Tokens.meta
            color: Theme.text3
            Accessible.ignored: true
        }
    }
}
