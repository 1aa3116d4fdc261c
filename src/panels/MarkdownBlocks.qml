import QtQuick
import Vantry.Style

/// The blocks of a MarkdownText, one below the other. As wide as its longest line, at most `maximumWidth`.
Column {
    id: root

    /// MarkdownBlock values.
    required property var blocks
    required property real maximumWidth
    /// In a bubble of the user's.
    property bool inBubble: false

    readonly property color textColor: inBubble ? Theme.onBubble : Theme.text
    readonly property color codeColor: Qt.alpha(textColor, inBubble ? 0.9 : 0.85)
    readonly property color codeGround: inBubble ? Theme.bubbleCode : Theme.sunken
    readonly property color linkColor: inBubble ? Theme.onBubble : Theme.link
    /// The looks of the tags that a block's html has.
    readonly property string styleSheet: "<style>p{margin:0;white-space:pre-wrap;line-height:%1px}".arg(Tokens.body.lineHeight) + "code{font-family:'%1';font-size:%2px;color:%3;background-color:%4}".arg(Tokens.code.font.family).arg(Tokens.code.font.pixelSize).arg(codeColor).arg(codeGround) + "a{color:%1}</style>".arg(linkColor)

    signal linkActivated(string link)

    spacing: Tokens.sp6

    Repeater {
        model: root.blocks

        Loader {
            id: block

            required property var modelData

            sourceComponent: modelData.isCode ? codeBlock : paragraph

            Component {
                id: paragraph

                MarkdownParagraph {
                    width: Math.min(implicitWidth, root.maximumWidth)
                    text: root.styleSheet + block.modelData.html
                    links: block.modelData.links
                    color: root.textColor
                    onLinkActivated: link => root.linkActivated(link)
                }
            }
            Component {
                id: codeBlock

                CodeBlock {
                    width: root.inBubble ? Math.min(implicitWidth, root.maximumWidth) : root.maximumWidth
                    lang: block.modelData.lang
                    code: block.modelData.code
                    inBubble: root.inBubble
                }
            }
        }
    }
}
