import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// What a tooltip shows. It comes when it has been wanted for a while, below its parent.
T.ToolTip {
    id: root

    y: parent ? parent.height + Tokens.sp4 : 0
    implicitWidth: Math.min(implicitContentWidth + leftPadding + rightPadding, 300)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    horizontalPadding: Tokens.sp8
    verticalPadding: Tokens.sp4
    margins: Tokens.sp8
    scale: Tokens.textScale
    transformOrigin: T.Popup.TopLeft
    delay: 500
    visible: true
    closePolicy: T.Popup.NoAutoClose

    contentItem: Text {
        objectName: "tipText"
        text: root.text
        font: Tokens.meta.font
        color: Theme.text
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
    }
    background: ElevatedFrame {
        elevation: "menu"
        radius: Tokens.radiusControl
    }
}
