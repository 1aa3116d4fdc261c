import QtQuick
import Vantry.Notch
import Vantry.Panels
import Vantry.Style

/// The expanded notch: the panel, in its text scale, on black.
Item {
    id: root

    required property NotchViewModel viewModel
    /// Between the panel and the notch's edges.
    readonly property real sideMargin: Tokens.sp4
    readonly property real bottomMargin: Tokens.sp8

    implicitWidth: (panel.implicitWidth + 2 * sideMargin) * Tokens.textScale
    implicitHeight: (panel.implicitHeight + bottomMargin) * Tokens.textScale

    Rectangle {
        anchors.fill: parent
        color: Theme.bg
    }
    MenuBarView {
        id: panel

        x: root.sideMargin * Tokens.textScale
        width: root.width / Tokens.textScale - 2 * root.sideMargin
        height: root.height / Tokens.textScale - root.bottomMargin
        scale: Tokens.textScale
        transformOrigin: Item.TopLeft
        focus: true
        model: root.viewModel.panel
    }
}
