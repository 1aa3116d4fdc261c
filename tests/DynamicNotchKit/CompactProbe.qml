import QtQuick

/// Something to stand beside the notch.
Item {
    id: root

    property color tint: "#F97316"

    implicitWidth: 26
    implicitHeight: 10

    Rectangle {
        anchors.centerIn: parent
        width: 10
        height: 10
        radius: 5
        color: root.tint
    }
}
