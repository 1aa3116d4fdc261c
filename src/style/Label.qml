import QtQuick
import Vantry.Style

/// Text that isn't typed: plain, in one of the design's styles, one line unless it is told to wrap. What doesn't fit is
/// elided and shown whole in a tooltip.
Text {
    id: root

    property textStyle textStyle: Tokens.body

    font: textStyle.font
    lineHeightMode: Text.FixedHeight
    lineHeight: textStyle.lineHeight
    topPadding: textStyle.leading
    bottomPadding: -textStyle.leading
    color: Theme.text
    textFormat: Text.PlainText
    elide: Text.ElideRight
    // Said, so that it is mirrored.
    horizontalAlignment: Text.AlignLeft
    maximumLineCount: wrapMode === Text.NoWrap ? 1 : 0x7fffffff
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    HoverTip {
        text: root.truncated ? root.text : ""
    }
}
