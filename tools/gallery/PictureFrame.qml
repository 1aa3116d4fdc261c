import QtQuick
import Vantry.Panels
import Vantry.Style

/// The panel on a ground, as it floats over the desktop.
Rectangle {
    id: root

    required property MenuBarViewModel panel
    readonly property real margin: 24

    implicitWidth: panel.panelWidth * Tokens.textScale + 2 * margin
    implicitHeight: panel.panelHeight * Tokens.textScale + 2 * margin
    color: Theme.name === "light" ? "#D9DCE4" : "#0D0E10"

    ElevatedFrame {
        x: root.margin
        y: root.margin
        width: root.panel.panelWidth
        height: root.panel.panelHeight
        transformOrigin: Item.TopLeft
        scale: Tokens.textScale
        elevation: "panel"
        radius: Tokens.radiusPanel
        color: Theme.bg

        MenuBarView {
            anchors.fill: parent
            radius: Tokens.radiusPanel
            focus: true
            model: root.panel
        }
    }
}
