import QtQuick
import Vantry.Style

/// A small word on a chip, such as "soon".
Rectangle {
    property alias text: label.text

    implicitWidth: label.implicitWidth + 2 * Tokens.sp6
    implicitHeight: label.implicitHeight + Tokens.sp2
    radius: Tokens.radiusChip
    color: Qt.alpha(Theme.text, 0.06)

    Label {
        id: label

        anchors.centerIn: parent
        textStyle: Tokens.capsule
        color: Theme.text2
    }
}
