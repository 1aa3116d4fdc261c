import QtQuick

/// Something to open, which counts what reaches it.
Rectangle {
    id: root

    objectName: "expanded"
    property int clicks: 0
    property string typed: ""
    property color tint: "#1D1E21"

    implicitWidth: 390
    implicitHeight: 420
    color: tint

    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onClicked: root.clicks += 1
    }
    focus: true
    Keys.onPressed: event => root.typed += event.text
}
