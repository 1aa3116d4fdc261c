import QtQuick
import Vantry.Panels
import Vantry.Style

/// Brings the session's terminal forward.
Item {
    id: root

    required property ChatViewModel model

    implicitHeight: Tokens.chatFooterHeight

    Hairline {
        width: parent.width
    }
    Button {
        anchors.centerIn: parent
        width: Math.min(implicitWidth, parent.width - 2 * Tokens.sp8)
        kind: Button.Plain
        size: Button.Regular
        symbol: root.model.footerSymbol
        text: root.model.footerText
        textColor: Theme.text2
        onClicked: root.model.focusTerminal()
    }
}
