import QtQuick
import Vantry.Style

/// The end of a row: how long ago, where there is something to tell, and a chevron where the row leads on.
Row {
    id: root

    property string timeText
    property bool showsChevron: true

    spacing: Tokens.sp8

    Label {
        anchors.verticalCenter: parent.verticalCenter
        visible: text !== ""
        text: root.timeText
        textStyle: Tokens.meta
        color: Theme.text3
        Accessible.ignored: true
    }
    Item {
        visible: root.showsChevron
        width: Tokens.iconRegular
        height: Tokens.iconRegular

        Symbol {
            anchors.centerIn: parent
            name: root.LayoutMirroring.enabled ? "chevron.left" : "chevron.right"
            size: Tokens.iconTiny
        }
    }
}
