import QtQuick
import Vantry.Panels
import Vantry.Style

/// One step of the set-up: its heading, and below it what there is to see or to choose. It scrolls where the window is
/// too small for it.
ScrollColumn {
    id: root

    required property string title
    property string note
    property string symbol
    /// In the middle of the page's height, instead of from the top.
    property bool isCentred: false
    /// What stands above the title in the symbol's stead.
    property alias picture: picture.sourceComponent

    margins: Math.max(Tokens.sp16, (width - 440) / 2)
    marginAbove: isCentred ? Math.max(28, (height - columnHeight) / 2) : 28
    spacing: Tokens.sp20

    Column {
        width: parent.width
        spacing: Tokens.sp8

        Loader {
            id: picture

            anchors.horizontalCenter: parent.horizontalCenter
            visible: status === Loader.Ready
        }
        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: root.symbol !== ""
            name: root.symbol
            size: 36
        }
        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: root.title
            textStyle: Tokens.display
            Accessible.role: Accessible.Heading
        }
        Label {
            width: parent.width
            visible: root.note !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: root.note
            textStyle: Tokens.control
            color: Theme.text2
        }
    }
}
