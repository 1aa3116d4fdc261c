import QtQuick
import Vantry.Style

/// The row that leads to a new session.
ListRow {
    implicitHeight: Tokens.newSessionRowHeight
    text: qsTr("New Session")

    Symbol {
        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter
        name: "plus.circle.fill"
        color: Theme.accentGlyph
    }
    Label {
        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp32
        anchors.verticalCenter: parent.verticalCenter
        text: qsTr("New Session")
        textStyle: Tokens.rowMedium
        Accessible.ignored: true
    }
}
