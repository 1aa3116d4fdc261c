import QtQuick

/// Something to stand beside the notch.
Item {
    implicitWidth: 26

    Rectangle {
        anchors.centerIn: parent
        width: 10
        height: 10
        radius: 5
        color: "#F97316"
    }
}
