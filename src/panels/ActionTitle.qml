import QtQuick
import Vantry.Style

/// The first line of the action block. A long one wraps.
Item {
    id: root

    required property string symbol
    required property string text

    implicitHeight: label.implicitHeight

    Symbol {
        id: glyph

        anchors.left: parent.left
        y: (Tokens.bodyStrong.lineHeight - height) / 2
        name: root.symbol
        color: Theme.accentGlyph
    }
    Label {
        id: label

        anchors.left: glyph.right
        anchors.leftMargin: Tokens.sp6
        anchors.right: parent.right
        wrapMode: Text.Wrap
        text: root.text
        textStyle: Tokens.bodyStrong
        Accessible.role: Accessible.Heading
    }
}
