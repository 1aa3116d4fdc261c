import QtQuick
import Vantry.Notch
import Vantry.Style

/// One side of the compact notch. It has the same width whatever it shows, so that nothing shifts, and isn't mirrored.
Item {
    id: root

    required property NotchViewModel viewModel
    readonly property bool isSeen: visible && Window.visibility !== Window.Hidden
    readonly property real sideWidth: 26
    /// What is shown grows with the text, as far as the notch is high.
    readonly property real contentScale: Math.max(0.5, Math.min(Tokens.textScale, height / 14))
    default property alias content: scaled.data

    implicitWidth: Math.round(sideWidth * Tokens.textScale)
    implicitHeight: Math.round(28 * Tokens.textScale)
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true

    Item {
        id: scaled

        anchors.centerIn: parent
        width: root.width / root.contentScale
        height: root.height / root.contentScale
        scale: root.contentScale
    }
}
