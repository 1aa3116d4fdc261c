import QtQuick
import Vantry.Panels
import Vantry.Style

/// The panel: one screen at a time, the list of sessions at its root.
Item {
    id: root

    required property MenuBarViewModel model

    implicitWidth: Tokens.panelWidth
    implicitHeight: Tokens.panelHeight

    Hairline {
        width: parent.width
    }
}
