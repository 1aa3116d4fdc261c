import QtQuick
import Vantry.Style

/// Running text with styles and links, which can be selected and copied.
TextEdit {
    id: root

    /// MarkdownLink values.
    property var links: []

    readOnly: true
    selectByMouse: true
    activeFocusOnTab: false
    textFormat: TextEdit.RichText
    wrapMode: TextEdit.Wrap
    font: Tokens.body.font
    selectionColor: Theme.focus
    selectedTextColor: Theme.bg
    Accessible.ignored: true

    HoverHandler {
        cursorShape: root.hoveredLink === "" ? Qt.IBeamCursor : Qt.PointingHandCursor
    }
    Repeater {
        model: root.links

        LinkSpot {}
    }
}
