import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// The tabs of a window, with a symbol each. One stop of the keyboard, which goes on by the arrow keys.
Item {
    id: root

    property list<TabEntry> entries
    property int current: 0

    /// To the next tab in this direction, around the ends; with the focus when it is in the row.
    function step(by: int) {
        const hadFocus = tabs.itemAt(current).activeFocus;
        current = (current + by + entries.length) % entries.length;
        if (hadFocus)
            focusCurrent(Qt.TabFocusReason);
    }
    function focusCurrent(reason: int) {
        tabs.itemAt(current).forceActiveFocus(reason);
    }

    implicitWidth: row.implicitWidth
    implicitHeight: row.implicitHeight
    Accessible.role: Accessible.PageTabList
    Accessible.name: qsTr("Tabs")

    Row {
        id: row

        spacing: Tokens.sp4

        Repeater {
            id: tabs

            model: root.entries

            T.TabButton {
                id: tab

                required property int index
                required property TabEntry modelData
                readonly property bool isCurrent: root.current === index
                readonly property color color: isCurrent ? Theme.text : Theme.text2

                objectName: "tab" + index
                implicitWidth: Math.ceil(Tokens.iconRegular + Tokens.sp6 + widest.implicitWidth) + 2 * Tokens.sp12
                implicitHeight: Tokens.fieldHeight
                text: modelData.title
                checkable: false
                checked: isCurrent
                autoExclusive: false
                hoverEnabled: true
                focusPolicy: isCurrent || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
                Accessible.name: text
                Accessible.selectable: true
                Accessible.selected: isCurrent
                Accessible.onPressAction: clicked()
                Keys.onLeftPressed: root.step(tab.mirrored ? 1 : -1)
                Keys.onRightPressed: root.step(tab.mirrored ? -1 : 1)
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                onClicked: root.current = index

                background: ControlSurface {
                    radius: Tokens.radiusControl
                    hovered: tab.hovered && !tab.isCurrent
                    pressed: tab.down
                    restColor: tab.isCurrent ? Theme.pressed : Qt.alpha(Theme.hover, 0)
                }
                contentItem: Item {
                    Row {
                        anchors.centerIn: parent
                        spacing: Tokens.sp6

                        Symbol {
                            anchors.verticalCenter: parent.verticalCenter
                            name: tab.modelData.symbol
                            size: Tokens.iconRegular
                            color: tab.color
                        }
                        Label {
                            anchors.verticalCenter: parent.verticalCenter
                            text: tab.text
                            textStyle: tab.isCurrent ? Tokens.row : Tokens.rowMedium
                            color: tab.color
                            Accessible.ignored: true
                        }
                    }
                    // So that no tab changes its width when it is chosen.
                    Label {
                        id: widest

                        visible: false
                        text: tab.text
                        textStyle: Tokens.row
                        Accessible.ignored: true
                    }
                }

                FocusRing {}
            }
        }
    }
}
