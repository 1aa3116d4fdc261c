import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A choice of few, all of which are seen. It shows what it is told, and only asks for another choice. One stop of the
/// keyboard, which goes on by the arrow keys.
Rectangle {
    id: root

    /// What is chosen.
    property string label
    property list<string> choices
    property int selected: -1

    signal chosen(int index)

    /// Chooses a segment, if there is one, and puts the focus there.
    function go(index: int) {
        if (index < 0 || index >= choices.length)
            return;
        chosen(index);
        segments.itemAt(index).forceActiveFocus(Qt.TabFocusReason);
    }

    implicitWidth: row.implicitWidth + 2 * row.x
    implicitHeight: Tokens.button
    radius: Tokens.radiusControl
    color: Theme.sunken
    border.width: Tokens.borderWidth
    border.color: Tokens.highContrast ? Theme.lineStrong : Theme.line
    Accessible.role: Accessible.Grouping
    Accessible.name: label

    Row {
        id: row

        x: 1
        y: 1

        Repeater {
            id: segments

            model: root.choices

            T.RadioButton {
                id: segment

                required property int index
                required property string modelData
                readonly property bool isSelected: root.selected === index

                objectName: "segment" + index
                implicitWidth: Math.ceil(widest.implicitWidth) + 2 * Tokens.sp12
                implicitHeight: root.height - 2 * row.y
                text: modelData
                checkable: false
                checked: isSelected
                autoExclusive: false
                hoverEnabled: true
                focusPolicy: isSelected || activeFocus || root.selected < 0 ? Qt.StrongFocus : Qt.ClickFocus
                Accessible.name: text
                Accessible.checkable: true
                Accessible.checked: isSelected
                Accessible.onPressAction: clicked()
                Accessible.onToggleAction: clicked()
                Keys.onLeftPressed: root.go(mirrored ? index + 1 : index - 1)
                Keys.onRightPressed: root.go(mirrored ? index - 1 : index + 1)
                Keys.onUpPressed: root.go(index - 1)
                Keys.onDownPressed: root.go(index + 1)
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                onClicked: root.chosen(index)

                background: Rectangle {
                    radius: Tokens.radiusControl - 1
                    color: segment.isSelected ? Theme.raised : segment.hovered ? Theme.hover : "transparent"
                    border.width: segment.isSelected ? Tokens.borderWidth : 0
                    border.color: Theme.lineStrong
                }
                contentItem: Item {
                    Label {
                        anchors.centerIn: parent
                        text: segment.text
                        textStyle: segment.isSelected ? Tokens.bodyStrong : Tokens.bodyMedium
                        color: segment.isSelected ? Theme.text : Theme.text2
                        Accessible.ignored: true
                    }
                    // So that no segment changes its width when it is chosen.
                    Label {
                        id: widest

                        visible: false
                        text: segment.text
                        textStyle: Tokens.bodyStrong
                        Accessible.ignored: true
                    }
                }

                FocusRing {
                    inside: true
                    targetRadius: Tokens.radiusControl - 1
                }
            }
        }
    }
}
