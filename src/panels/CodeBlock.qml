import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A block of code: its language above it, long lines scroll sideways. It can be copied whole. Code is never mirrored.
Item {
    id: root

    required property string lang
    required property string code
    /// In a bubble of the user's.
    property bool inBubble: false

    readonly property color textColor: inBubble ? Qt.alpha(Theme.onBubble, 0.9) : Theme.text
    readonly property real labelHeight: lang === "" ? 0 : Tokens.codeLabel.lineHeight + Tokens.sp2

    implicitWidth: Math.max(text.implicitWidth, label.implicitWidth) + 2 * flickable.anchors.leftMargin
    implicitHeight: flickable.y + text.implicitHeight + Tokens.sp6
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true

    HoverHandler {
        id: pointer
    }
    Rectangle {
        anchors.fill: parent
        radius: Tokens.radiusControl
        color: root.inBubble ? Theme.bubbleCode : Theme.sunken
        border.width: root.inBubble ? 0 : 1
        border.color: Theme.line
    }
    Label {
        id: label

        anchors.left: flickable.left
        anchors.right: copyButton.left
        y: Tokens.sp6
        visible: root.lang !== ""
        text: root.lang
        textStyle: Tokens.codeLabel
        color: root.inBubble ? Qt.alpha(Theme.onBubble, 0.7) : Theme.text2
        Accessible.ignored: true
    }
    Flickable {
        id: flickable

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp8 + Tokens.sp2
        anchors.right: parent.right
        anchors.rightMargin: 1
        y: Tokens.sp6 + root.labelHeight
        height: text.implicitHeight + Tokens.sp6
        clip: contentWidth > width
        contentWidth: text.implicitWidth + Tokens.sp8
        flickableDirection: Flickable.HorizontalFlick
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentWidth > width
        T.ScrollBar.horizontal: ThinScrollBar {
            policy: pointer.hovered ? T.ScrollBar.AsNeeded : T.ScrollBar.AlwaysOff
        }

        TextEdit {
            id: text

            readOnly: true
            selectByMouse: true
            activeFocusOnTab: false
            textFormat: TextEdit.PlainText
            horizontalAlignment: TextEdit.AlignLeft
            font: Tokens.code.font
            text: root.code
            color: root.textColor
            selectionColor: Theme.focus
            selectedTextColor: Theme.bg
            Accessible.ignored: true
        }
    }
    EdgeFade {
        anchors.right: parent.right
        height: parent.height
        sideways: true
        visible: flickable.contentX + flickable.width < flickable.contentWidth - 1
        ground: root.inBubble ? Theme.bubble : Theme.bg
    }
    IconButton {
        id: copyButton

        property bool copied: false

        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Tokens.sp2
        size: Tokens.buttonSmall
        symbolSize: Tokens.iconSmall
        symbol: copied ? "checkmark" : "clipboard"
        text: copied ? qsTr("Copied") : qsTr("Copy")
        opacity: pointer.hovered || activeFocus || copied ? 1 : 0
        onClicked: {
            text.selectAll();
            text.copy();
            text.deselect();
            copied = true;
            copiedNote.restart();
        }

        background: Rectangle {
            radius: Tokens.radiusControl
            color: copyButton.down ? Theme.pressed : copyButton.hovered ? Theme.hover : Theme.raised
            border.width: 1
            border.color: Theme.line
        }

        PauseAnimation {
            id: copiedNote

            duration: 1500
            onFinished: copyButton.copied = false
        }
    }
}
