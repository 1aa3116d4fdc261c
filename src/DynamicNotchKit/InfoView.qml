import QtQuick
import Vantry.DynamicNotchKit

/// An icon with a title, and a description below it.
Item {
    id: root

    required property DynamicNotchInfo info
    readonly property bool hasIcon: info.icon.kind !== 0
    readonly property bool hasDescription: info.description !== ""
    readonly property real textStart: hasIcon ? 36 + 12 : 0

    implicitWidth: textStart + Math.min(320, Math.max(title.implicitWidth, hasDescription ? description.implicitWidth : 0))
    implicitHeight: Math.max(hasIcon ? 36 : 0, title.implicitHeight + (hasDescription ? description.implicitHeight : 0)) + 16

    InfoLabelView {
        visible: root.hasIcon
        anchors.verticalCenter: parent.verticalCenter
        width: 36
        height: 36
        label: root.info.icon
    }
    Column {
        x: root.textStart
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - x

        Text {
            id: title

            width: parent.width
            elide: Text.ElideRight
            textFormat: Text.PlainText
            font.pixelSize: 14
            font.weight: Font.DemiBold
            color: root.info.textColor
            text: root.info.title
        }
        Text {
            id: description

            width: parent.width
            visible: root.hasDescription
            elide: Text.ElideRight
            textFormat: Text.PlainText
            font.pixelSize: 12
            opacity: 0.8
            color: root.info.textColor
            text: root.info.description
        }
    }
}
