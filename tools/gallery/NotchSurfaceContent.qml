import QtQuick

/// Something to open.
Item {
    implicitWidth: 390
    implicitHeight: 420

    Column {
        spacing: 8

        Repeater {
            model: 7

            Rectangle {
                required property int index

                width: 390
                height: 53
                radius: 8
                color: index === 1 ? "#1B1109" : "#131416"
                border.color: index === 1 ? "#4D2D16" : "#26282C"
            }
        }
    }
}
