import QtQuick
import Vantry.Style

/// The right side of the compact notch: how many sessions wait for the user.
NotchCompactSide {
    id: root

    Accessible.ignored: true

    Text {
        objectName: "count"
        anchors.fill: parent
        anchors.leftMargin: Tokens.sp2
        anchors.rightMargin: Tokens.sp2
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        visible: text !== ""
        text: root.viewModel.countText
        textFormat: Text.PlainText
        color: Theme.accent
        font.family: Tokens.section.font.family
        font.pixelSize: 11
        font.weight: Font.Bold
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 6
        Accessible.ignored: true
    }
}
