import QtQuick
import Vantry.Style

/// How much of an agent's context is used, in percent, as a bar.
Rectangle {
    id: root

    enum Level {
        Green,
        Yellow,
        Red
    }

    property real used: 0
    property int level: ContextBar.Green

    implicitWidth: Tokens.contextBarWidth
    implicitHeight: Tokens.contextBarHeight
    radius: height / 2
    color: Theme.line
    Accessible.role: Accessible.ProgressBar
    Accessible.name: qsTr("%1% context used").arg(Math.round(used))

    Rectangle {
        width: parent.width * Math.min(100, Math.max(0, root.used)) / 100
        height: parent.height
        anchors.left: parent.left
        radius: parent.radius
        color: [Theme.readyDot, Theme.warnDot, Theme.error][root.level]
    }
}
