import QtQuick

/// As much to draw as a panel full of sessions.
Item {
    implicitWidth: 390
    implicitHeight: 420

    Column {
        spacing: 2

        Repeater {
            model: 10

            Rectangle {
                id: row

                required property int index

                width: 390
                height: 40
                radius: 8
                color: "#131416"
                border.color: "#26282C"

                Text {
                    x: 40
                    y: 4
                    color: "#F2F3F5"
                    font.pixelSize: 13
                    text: "project-" + row.index + "  feat/checkout-retry"
                }
                Text {
                    x: 40
                    y: 22
                    color: "#9DA2AC"
                    font.pixelSize: 11
                    text: "Working on the checkout form, and on its tests"
                }
                Text {
                    anchors.right: parent.right
                    anchors.rightMargin: 16
                    y: 4
                    color: "#33B34D"
                    font.pixelSize: 10
                    text: "+128"
                }
            }
        }
    }
}
