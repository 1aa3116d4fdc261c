import QtQuick
import Vantry.Notch
import Vantry.Panels
import Vantry.Style

/// The expanded notch: the panel, in its text scale, on black.
FocusScope {
    id: root

    required property NotchViewModel viewModel

    implicitWidth: panel.implicitWidth * Tokens.textScale
    implicitHeight: panel.implicitHeight * Tokens.textScale
    focus: true

    Rectangle {
        anchors.fill: parent
        color: Theme.bg
    }
    MenuBarView {
        id: panel

        width: root.width / Tokens.textScale
        height: root.height / Tokens.textScale
        scale: Tokens.textScale
        transformOrigin: Item.TopLeft
        focus: true
        model: root.viewModel.panel // qmllint disable
    }
}
