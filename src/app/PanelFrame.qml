import QtQuick
import Vantry.App
import Vantry.Panels
import Vantry.Style

/// What the panel's window holds: the panel in the desktop's text scale, in a popover with an outline and a shadow.
Item {
    id: root

    required property MenuBarViewModel model
    required property PanelWindow window
    readonly property bool isRounded: window.shadowMargin > 0

    Item {
        id: surface

        x: root.window.shadowMargin
        y: root.window.shadowMargin
        width: (root.width - 2 * x) / Tokens.textScale
        height: (root.height - 2 * y) / Tokens.textScale
        scale: Tokens.textScale
        transformOrigin: Item.TopLeft

        ElevatedFrame {
            anchors.fill: parent
            visible: root.window.isPopover
            elevation: root.isRounded ? "panel" : "flat"
            radius: root.isRounded ? Tokens.radiusPanel : 0
            color: Theme.bg
        }
        MenuBarView {
            anchors.fill: parent
            anchors.margins: root.window.isPopover ? Tokens.borderWidth : 0
            model: root.model
            radius: root.isRounded ? Tokens.radiusPanel - Tokens.borderWidth : 0
            focus: true
        }
    }
}
