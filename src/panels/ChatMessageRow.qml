import QtQuick
import Vantry.Panels
import Vantry.Style

/// One message of the conversation, with the space above it.
Item {
    id: root

    required property int index
    required property int kind
    required property var head
    required property var tail
    required property int hiddenLines
    required property bool isPending
    required property string toolName
    required property string toolSummary
    required property string toolSymbol
    required property string accessibleText

    readonly property bool isTool: kind === ChatMessageModel.ToolMessage
    /// Calls that follow one another stand closer.
    readonly property real gap: index === 0 ? 0 : isTool && ListView.previousSection === ListView.section ? Tokens.sp4 : Tokens.sp8

    signal expanded
    signal linkActivated(string link)

    implicitHeight: content.height + gap

    Loader {
        id: content

        x: Tokens.sp12
        y: root.gap
        width: parent.width - 2 * x
        sourceComponent: root.isTool ? tool : bubble
    }
    Component {
        id: tool

        ToolUseRow {
            toolName: root.toolName
            toolSummary: root.toolSummary
            toolSymbol: root.toolSymbol
            accessibleText: root.accessibleText
        }
    }
    Component {
        id: bubble

        ChatBubble {
            isUser: root.kind === ChatMessageModel.UserMessage
            head: root.head
            tail: root.tail
            hiddenLines: root.hiddenLines
            isPending: root.isPending
            accessibleText: root.accessibleText
            onExpanded: root.expanded()
            onLinkActivated: link => root.linkActivated(link)
        }
    }
}
