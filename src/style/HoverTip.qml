import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A tooltip for the item that it stands in: shown when the pointer rests there, and at once with the keyboard's focus.
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
        active: root.text !== "" && (hover.hovered || root.focused)
        sourceComponent: T.ToolTip {
            parent: root
            y: root.height + Tokens.sp4
            implicitWidth: Math.min(contentWidth + leftPadding + rightPadding, 300)
            implicitHeight: contentHeight + topPadding + bottomPadding
            horizontalPadding: Tokens.sp8
            verticalPadding: Tokens.sp4
            margins: Tokens.sp8
            scale: Tokens.textScale
            transformOrigin: T.Popup.TopLeft
            delay: 500
            visible: true
            text: root.text
            closePolicy: T.Popup.NoAutoClose

            contentItem: Text {
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
    }
}
