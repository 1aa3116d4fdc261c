import QtQuick
import Vantry.Style

/// What stands where nothing is: a symbol, a line, and a second one where there is more to say.
Item {
    id: root

    property string symbol
    property string title
    property string caption

    implicitWidth: column.implicitWidth
    implicitHeight: column.implicitHeight
    Accessible.role: Accessible.StaticText
    Accessible.name: caption === "" ? title : qsTr("%1. %2").arg(title).arg(caption)

    Column {
        id: column

        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Tokens.sp16, Math.max(titleLabel.implicitWidth, captionLabel.implicitWidth))
        spacing: Tokens.sp8

        Symbol {
            anchors.horizontalCenter: parent.horizontalCenter
            name: root.symbol
            size: Tokens.iconEmptyState
            color: Theme.text3
        }
        Label {
            id: titleLabel

            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: root.title
            textStyle: root.caption === "" ? Tokens.body : Tokens.bodyStrong
            color: root.caption === "" ? Theme.text2 : Theme.text
            Accessible.ignored: true
        }
        Label {
            id: captionLabel

            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            visible: root.caption !== ""
            text: root.caption
            color: Theme.text2
            Accessible.ignored: true
        }
    }
}
