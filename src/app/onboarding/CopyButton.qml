import QtQuick
import Vantry.Style

/// Copies a text, and says so for a moment.
IconButton {
    id: root

    required property string content
    property bool isCopied: false

    size: Tokens.hitMin
    symbolSize: Tokens.iconSmall
    focusPolicy: Qt.TabFocus
    symbol: isCopied ? "checkmark" : "clipboard"
    text: isCopied ? qsTr("Copied") : qsTr("Copy")
    onClicked: {
        carrier.selectAll();
        carrier.copy();
        isCopied = true;
        note.restart();
    }

    // What there is without a window's own clipboard.
    TextEdit {
        id: carrier

        visible: false
        textFormat: TextEdit.PlainText
        text: root.content
    }
    PauseAnimation {
        id: note

        duration: 1500
        onFinished: root.isCopied = false
    }
}
