import QtQuick
import Vantry.Panels
import Vantry.Style

/// A place for sessions, with a small picture of it. No control of the toolkit's: one that is made while somebody has the
/// windows read out has no role but its own, and a radio button loses some memory then.
Item {
    id: root

    required property string text
    required property string symbol
    required property string caption
    required property bool hasMenuBar
    required property bool hasNotch
    required property bool isSelected
    /// Whether Tab comes to it; among the cards the arrow keys go.
    required property bool isTabStop

    signal clicked

    implicitHeight: content.implicitHeight + 2 * Tokens.sp8 + 2 * Tokens.sp2
    activeFocusOnTab: isTabStop || activeFocus
    Accessible.role: Accessible.RadioButton
    Accessible.focusable: true
    Accessible.name: qsTr("%1, %2").arg(text).arg(caption)
    Accessible.checkable: true
    Accessible.checked: isSelected
    Accessible.onPressAction: clicked()
    Accessible.onToggleAction: clicked()
    Keys.onSpacePressed: clicked()
    onIsSelectedChanged: {
        if (isSelected && Window.activeFocusItem?.parent === parent)
            forceActiveFocus();
    }

    RaisedSurface {
        anchors.fill: parent
        hovered: pointer.hovered && !root.isSelected
        border.width: root.isSelected ? 2 : Tokens.borderWidth
        border.color: root.isSelected ? Theme.ink : Theme.line
    }

    HoverHandler {
        id: pointer
    }
    TapHandler {
        onTapped: root.clicked()
    }
    // Only the keyboard gives it the focus.
    FocusRing {
        visible: root.activeFocus
        targetRadius: Tokens.radiusRow
    }
    Column {
        id: content

        x: Tokens.sp8 + Tokens.sp2
        y: x
        width: root.width - 2 * x

        DisplayModePicture {
            width: parent.width
            hasMenuBar: root.hasMenuBar
            hasNotch: root.hasNotch
        }
        Item {
            width: parent.width
            height: Tokens.sp8
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Tokens.sp6

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: root.isSelected ? "checkmark.circle.fill" : root.symbol
                size: Tokens.iconSmall
                color: root.isSelected ? Theme.readyDot : Theme.text2
            }
            Label {
                text: root.text
                textStyle: Tokens.row
                Accessible.ignored: true
            }
        }
        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            text: root.caption
            textStyle: Tokens.meta
            color: Theme.text2
            Accessible.ignored: true
        }
    }
}
