import QtQuick
import Vantry.App
import Vantry.Style

/// The settings in a window of a desktop, without the desktop's own frame.
Rectangle {
    id: root

    required property SettingsViewModel model
    required property size windowSize
    readonly property real margin: 24

    implicitWidth: windowSize.width * Tokens.textScale + 2 * margin
    implicitHeight: windowSize.height * Tokens.textScale + 2 * margin
    color: Theme.name === "light" ? "#D9DCE4" : "#0D0E10"

    SettingsView {
        x: root.margin
        y: root.margin
        width: root.width - 2 * root.margin
        height: root.height - 2 * root.margin
        model: root.model
    }
}
