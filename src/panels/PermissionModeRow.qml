import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A mode to choose.
T.RadioButton {
    id: root

    required property string symbol
    required property string title
    required property string subtitle
    required property bool isSelected
    /// It lets the agent do everything.
    required property bool isWarning

    implicitHeight: Tokens.modeRowHeight
    text: qsTr("%1, %2").arg(title).arg(subtitle)
    checkable: false
    checked: isSelected
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Accessible.onToggleAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Accessible.checkable: true
    background: ControlSurface {
        hovered: root.hovered
        pressed: root.down
    }

    FocusRing {
        inside: true
        targetRadius: 0
    }
    Symbol {
        id: picture

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12 - 1
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
        color: root.isWarning ? Qt.alpha(Theme.bypass, 0.7) : Theme.text2
    }
    Column {
        anchors.left: picture.right
        anchors.leftMargin: Tokens.sp8 + Tokens.sp2
        anchors.right: check.left
        anchors.verticalCenter: parent.verticalCenter

        Label {
            width: parent.width
            text: root.title
            textStyle: Tokens.bodyStrong
            color: root.isWarning ? Qt.alpha(Theme.bypass, 0.8) : Theme.text
            Accessible.ignored: true
        }
        Label {
            width: parent.width
            text: root.subtitle
            textStyle: Tokens.meta
            color: Theme.text2
            Accessible.ignored: true
        }
    }
    Symbol {
        id: check

        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12 - 1
        anchors.verticalCenter: parent.verticalCenter
        opacity: root.isSelected ? 1 : 0
        name: "checkmark"
        color: Theme.text
    }
}
