import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A field for what to look for, with a button that clears it.
T.TextField {
    id: root

    property string placeholder

    function startAnew() {
        clear();
        forceActiveFocus();
    }

    implicitHeight: Tokens.fieldHeight
    leftPadding: Tokens.sp8 + Tokens.iconRegular + Tokens.sp8
    rightPadding: Tokens.sp24 + Tokens.sp4
    verticalAlignment: TextInput.AlignVCenter
    font: Tokens.body.font
    color: Theme.text
    selectionColor: Theme.focus
    selectedTextColor: Theme.bg
    selectByMouse: true
    hoverEnabled: true
    Accessible.role: Accessible.EditableText
    Accessible.name: placeholder

    background: FieldSurface {
        focused: root.activeFocus
    }

    Symbol {
        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter
        name: "magnifyingglass"
        size: Tokens.iconSmall
    }
    Label {
        anchors.left: parent.left
        anchors.leftMargin: root.leftPadding
        anchors.right: parent.right
        anchors.rightMargin: root.rightPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: root.text === "" && root.preeditText === ""
        text: root.placeholder
        color: Theme.text3
        Accessible.ignored: true
    }
    IconButton {
        objectName: "clear"
        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp2
        anchors.verticalCenter: parent.verticalCenter
        visible: root.text !== ""
        size: Tokens.hitMin
        symbolSize: Tokens.iconSmall
        symbol: "xmark.circle.fill"
        text: qsTr("Clear")
        onClicked: root.startAnew()
    }
}
