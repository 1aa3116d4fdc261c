import QtQuick
import Vantry.Style

/// A screen in small: with the icon in its bar, and the panel below that where there is nothing else, with the notch, or
/// with both. It is not mirrored: the notch and the bar are where they are.
Rectangle {
    id: root

    required property bool hasMenuBar
    required property bool hasNotch

    readonly property real barHeight: 13

    implicitHeight: 75
    radius: Tokens.radiusControl
    color: Theme.sunken
    border.width: 1
    border.color: Theme.lineStrong
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true

    Rectangle {
        y: root.barHeight
        width: parent.width
        height: 1
        color: Theme.lineStrong
    }
    Mark {
        visible: root.hasMenuBar
        x: root.hasNotch ? parent.width - 30 : parent.width - 29
        y: 3
        size: 8
        beadColor: Theme.accentGlyph
    }
    // Only its lower corners are seen.
    Item {
        visible: root.hasNotch
        anchors.horizontalCenter: parent.horizontalCenter
        width: 47
        height: root.barHeight + 1
        clip: true

        Rectangle {
            y: -radius
            width: parent.width
            height: parent.height + radius
            radius: Tokens.radiusChip
            color: "black"

            Rectangle {
                x: 6
                anchors.verticalCenter: parent.verticalCenter
                anchors.verticalCenterOffset: parent.radius / 2
                width: 5
                height: 5
                radius: 2.5
                color: "transparent"
                border.width: 1
                border.color: "white"
            }
            Rectangle {
                x: parent.width - 10
                anchors.verticalCenter: parent.verticalCenter
                anchors.verticalCenterOffset: parent.radius / 2
                width: 4
                height: 4
                radius: 2
                color: Theme.accent
            }
        }
    }
    Rectangle {
        visible: root.hasMenuBar && !root.hasNotch
        x: parent.width - width - 5
        y: root.barHeight + 4
        width: 42
        height: 45
        radius: Tokens.radiusChip
        color: Theme.raised
        border.width: 1
        border.color: Theme.lineStrong

        Rectangle {
            x: 5
            y: 6
            width: parent.width - 10
            height: 8
            radius: 2
            color: Theme.tint
            border.width: 1
            border.color: Theme.tintLine
        }
        Repeater {
            model: [32, 32, 20]

            Rectangle {
                required property int index
                required property int modelData

                x: 5
                y: 20 + 7 * index
                width: modelData
                height: 2
                radius: 1
                color: Theme.lineStrong
            }
        }
    }
}
