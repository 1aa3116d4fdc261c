import QtQuick
import Vantry.Style

/// A small dot in a halo that pulses: something is about to begin.
Item {
    id: root

    property real size: Tokens.iconSmall
    property color color: Theme.text2
    property bool running: true

    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true

    Rectangle {
        id: halo

        readonly property bool pulses: root.running && root.visible && Window.visibility !== Window.Hidden && !Tokens.reducedMotion

        anchors.fill: parent
        radius: width / 2
        color: Qt.alpha(root.color, 0.3)

        SequentialAnimation on opacity {
            running: halo.pulses
            loops: Animation.Infinite
            onStopped: halo.opacity = 1

            NumberAnimation {
                from: 1
                to: 0.35
                duration: Tokens.pulseMs
                easing.type: Easing.InOutSine
            }
            NumberAnimation {
                from: 0.35
                to: 1
                duration: Tokens.pulseMs
                easing.type: Easing.InOutSine
            }
        }
    }
    Rectangle {
        anchors.centerIn: parent
        width: Tokens.stateDotSize - 2
        height: width
        radius: width / 2
        color: root.color
    }
}
