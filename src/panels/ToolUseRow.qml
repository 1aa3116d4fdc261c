import QtQuick
import Vantry.Style

/// A tool's call in one line.
Item {
    id: root

    required property string toolName
    required property string toolSummary
    required property string toolSymbol
    required property string accessibleText

    /// The design's height holds the space between two of them.
    implicitHeight: Tokens.toolRowHeight - Tokens.sp4
    Accessible.role: Accessible.ListItem
    Accessible.name: accessibleText

    Symbol {
        id: symbol

        anchors.left: parent.left
        anchors.leftMargin: 1
        anchors.verticalCenter: parent.verticalCenter
        name: root.toolSymbol
        size: Tokens.iconSmall
    }
    Label {
        id: name

        anchors.left: symbol.right
        anchors.leftMargin: Tokens.sp6 + 1
        anchors.verticalCenter: parent.verticalCenter
        width: Math.min(implicitWidth, root.toolSummary === "" ? root.width - symbol.width - 2 * Tokens.sp6 : root.width * 0.6)
        text: root.toolName
        textStyle: Tokens.bodyStrong
        color: Theme.text2
        Accessible.ignored: true
    }
    Label {
        anchors.left: name.right
        anchors.leftMargin: Tokens.sp6
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        text: root.toolSummary
        textStyle: Tokens.code
        color: Theme.text2
        Accessible.ignored: true
    }
}
