import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// An agent to choose. One that can't be chosen yet says "soon".
T.RadioButton {
    id: root

    required property string symbol
    required property string title
    required property bool isSelected
    required property bool isSelectable

    readonly property color color: isSelected ? Theme.text : Theme.text3

    implicitHeight: Tokens.pickerRowHeight
    text: isSelectable ? title : qsTr("%1, soon").arg(title)
    checkable: false
    checked: isSelected
    hoverEnabled: isSelectable
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Accessible.onToggleAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Accessible.checkable: true
    background: RaisedSurface {
        hovered: root.hovered && !root.isSelected
        restColor: root.isSelected ? Theme.raised : Theme.bg
        border.width: root.isSelected ? 1.5 : Tokens.borderWidth
        border.color: root.isSelected ? Theme.ink : Theme.line
    }

    FocusRing {
        inside: true
        targetRadius: Tokens.radiusRow
    }
    Row {
        anchors.centerIn: parent
        spacing: Tokens.sp6

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            size: Tokens.iconSmall
            color: root.color
        }
        Label {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, root.width - 2 * Tokens.sp4 - Tokens.iconSmall - Tokens.sp6 - (soon.visible ? soon.width + Tokens.sp6 : 0))
            text: root.title
            textStyle: root.isSelected ? Tokens.bodyStrong : Tokens.body
            color: root.color
            Accessible.ignored: true
        }
        Tag {
            id: soon

            anchors.verticalCenter: parent.verticalCenter
            visible: !root.isSelectable
            text: qsTr("soon")
            Accessible.ignored: true
        }
    }
}
