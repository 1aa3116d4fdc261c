import QtQuick
import Vantry.Style

/// How loud the last moments were: a bar for each level, from 0 to 1.
Row {
    id: root

    required property list<real> levels

    height: 18
    spacing: 1.5

    Repeater {
        // By number, so that a new level moves the bars instead of making new ones.
        model: root.levels.length

        Rectangle {
            required property int index
            readonly property real level: root.levels[index] ?? 0

            anchors.verticalCenter: parent?.verticalCenter
            width: 2.5
            height: Math.max(3, level * 18)
            radius: 1
            color: Theme.error

            Behavior on height {
                enabled: !Tokens.reducedMotion
                NumberAnimation {
                    duration: 80
                    easing.type: Easing.OutQuad
                }
            }
        }
    }
}
