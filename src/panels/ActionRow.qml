import QtQuick
import Vantry.Style

/// A large button with a symbol, what it does, and what that means.
ListRow {
    id: root

    property string symbol
    property string title
    property string subtitle
    property color symbolColor: Theme.text
    /// Whether it leads to another place.
    property bool showsChevron: false

    implicitHeight: Tokens.actionRowHeight
    text: qsTr("%1, %2").arg(title).arg(subtitle)
    Accessible.role: Accessible.Button
    background: RaisedSurface {
        hovered: root.hovered
        pressed: root.down
    }

    Symbol {
        id: picture

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
        size: Tokens.iconLarge
        color: root.symbolColor
    }
    Column {
        anchors.left: picture.right
        anchors.leftMargin: Tokens.sp12
        anchors.right: end.left
        anchors.rightMargin: Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter

        Label {
            width: parent.width
            text: root.title
            textStyle: Tokens.row
            Accessible.ignored: true
        }
        Label {
            width: parent.width
            text: root.subtitle
            textStyle: Tokens.meta
            color: Theme.text2
            Accessible.ignored: true
        }
    }
    RowEnd {
        id: end

        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        showsChevron: root.showsChevron
    }
}
