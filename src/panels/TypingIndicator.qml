import QtQuick
import Vantry.Style

/// Three dots that come and go, and what the agent does meanwhile.
Item {
    id: root

    required property string text
    readonly property bool animated: visible && Window.visibility !== Window.Hidden && !Tokens.reducedMotion

    implicitHeight: label.implicitHeight
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Row {
        id: dots

        property real phase

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        spacing: 3

        NumberAnimation on phase {
            running: root.animated
            from: 0
            to: 3
            duration: 1200
            loops: Animation.Infinite
            onStopped: dots.phase = 0
        }

        Repeater {
            model: 3

            Rectangle {
                required property int index

                width: 5
                height: 5
                radius: 2.5
                color: Theme.text2
                // The strongest dot wanders from left to right.
                opacity: 1 - 0.33 * ((Math.floor(dots.phase) + 2 - index) % 3)
            }
        }
    }
    Label {
        id: label

        anchors.left: dots.right
        anchors.leftMargin: Tokens.sp8
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: root.text
        color: Theme.text2
        Accessible.ignored: true
    }
}
