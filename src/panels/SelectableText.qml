import QtQuick
import Vantry.Style

/// Plain text that wraps and can be copied.
TextEdit {
    readOnly: true
    selectByMouse: true
    activeFocusOnTab: visible
    textFormat: TextEdit.PlainText
    wrapMode: TextEdit.Wrap
    font: Tokens.body.font
    selectionColor: Theme.focus
    selectedTextColor: Theme.bg
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
