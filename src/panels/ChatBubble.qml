import QtQuick
import Vantry.Style

/// A message: the user's in a bubble at the right, the agent's on the plain panel. A long one is folded.
Item {
    id: root

    required property bool isUser
    /// MarkdownText values; the second one is shown below the fold.
    required property var head
    required property var tail
    /// How many lines are folded away; 0 for none.
    required property int hiddenLines
    /// Sent from here, and not in the transcript yet.
    required property bool isPending
    required property string accessibleText

    readonly property real horizontalPadding: isUser ? 11 : 0
    readonly property real verticalPadding: isUser ? 7 : 0
    readonly property real widest: (isUser ? Math.min(296, width) : width) - 2 * horizontalPadding
    /// A solid colour, since the bubble is made of two pieces, one over the other.
    readonly property color ground: isPending ? Qt.tint(Theme.bg, Qt.alpha(Theme.bubble, pendingOpacity)) : Theme.bubble
    readonly property real pendingOpacity: 0.72

    signal expanded
    signal linkActivated(string link)

    implicitHeight: content.height + 2 * verticalPadding
    Accessible.role: Accessible.ListItem
    Accessible.name: accessibleText

    Rectangle {
        id: bubble

        anchors.right: parent.right
        width: content.width + 2 * root.horizontalPadding
        height: parent.height
        visible: root.isUser
        radius: Tokens.radiusBubble
        color: root.ground

        // The corner that points to the author.
        Rectangle {
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            width: parent.radius
            height: parent.radius
            radius: 3
            color: root.ground
        }
    }
    Column {
        id: content

        anchors.left: root.isUser ? bubble.left : parent.left
        anchors.leftMargin: root.horizontalPadding
        y: root.verticalPadding
        width: root.isUser ? Math.max(headBlocks.width, tailBlocks.width, fold.visible ? fold.implicitWidth : 0) : root.widest
        opacity: root.isPending ? root.pendingOpacity : 1

        MarkdownBlocks {
            id: headBlocks

            blocks: root.head.blocks
            maximumWidth: root.widest
            inBubble: root.isUser
            onLinkActivated: link => root.linkActivated(link)
        }
        FoldRow {
            id: fold

            width: parent.width
            visible: root.hiddenLines > 0
            hiddenLines: root.hiddenLines
            inBubble: root.isUser
            onClicked: root.expanded()
        }
        MarkdownBlocks {
            id: tailBlocks

            blocks: root.tail.blocks
            maximumWidth: root.widest
            inBubble: root.isUser
            onLinkActivated: link => root.linkActivated(link)
        }
    }
}
