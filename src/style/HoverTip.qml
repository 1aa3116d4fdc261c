import QtQuick
import Vantry.Style

/// A tooltip for the item that it stands in: shown when the pointer rests there, or the keyboard's focus.
Item {
    id: root

    property string text
    /// Whether the item has the keyboard's focus.
    property bool focused: false

    anchors.fill: parent
    Accessible.ignored: true

    HoverHandler {
        id: hover

        enabled: root.text !== ""
    }
    Loader {
        anchors.fill: parent
        active: root.text !== "" && (hover.hovered || root.focused)
        sourceComponent: TipBubble {}
        onLoaded: (item as TipBubble).text = Qt.binding(() => root.text)
    }
}
