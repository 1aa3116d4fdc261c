import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A large button with a symbol, what it does, and what that means.
T.Button {
    id: root

    property string symbol
    property string title
    property string subtitle
    property color symbolColor: Theme.text
    /// Whether it leads to another place.
    property bool showsChevron: false

    implicitHeight: Tokens.actionRowHeight
    text: qsTr("%1, %2").arg(title).arg(subtitle)
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    background: RaisedSurface {
        hovered: root.hovered
        pressed: root.down
    }

    FocusRing {
        inside: true
        targetRadius: Tokens.radiusRow
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
