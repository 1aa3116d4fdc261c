import QtQuick
import Vantry.Notch
import Vantry.Style

/// One side of the compact notch. It has the same width whatever it shows, so that nothing shifts, and isn't mirrored.
Item {
    id: root

    required property NotchViewModel viewModel
    readonly property bool isSeen: visible && Window.visibility !== Window.Hidden
    property bool isLeading: false
    readonly property real sideWidth: Math.round(26 * Tokens.textScale)
    /// What the shape's upper corner takes of the side.
    readonly property real cornerWidth: 6
    /// What is shown grows with the text, as far as the notch is high.
    readonly property real contentScale: Math.max(0.5, Math.min(Tokens.textScale, height / 14))
    default property alias content: scaled.data

    implicitWidth: sideWidth + cornerWidth
    implicitHeight: Math.round(28 * Tokens.textScale)
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true

    Item {
        id: scaled

        anchors.centerIn: parent
        anchors.horizontalCenterOffset: (root.isLeading ? 1 : -1) * root.cornerWidth / 2
        width: root.sideWidth / root.contentScale
        height: root.height / root.contentScale
        scale: root.contentScale
    }
}
