import QtQuick
import Vantry.Panels
import Vantry.Style

/// The mode in which an agent starts: the chosen one, and when opened all of them in the same frame.
Rectangle {
    id: root

    required property ProjectDetailModel model

    implicitHeight: closed.height + modes.height
    radius: Tokens.radiusRow
    color: Theme.raised
    border.width: Tokens.borderWidth
    border.color: model.modesExpanded ? Theme.lineStrong : Theme.line
    Keys.onEscapePressed: event => {
        event.accepted = model.modesExpanded;
        if (event.accepted) {
            model.modesExpanded = false;
            closed.forceActiveFocus(Qt.TabFocusReason);
        }
    }

    ListRow {
        id: closed

        width: parent.width
        implicitHeight: Tokens.pickerRowHeight
        text: root.model.selectedModeTitle
        Accessible.role: Accessible.ComboBox
        Accessible.name: qsTr("Mode, %1").arg(text)
        onClicked: root.model.modesExpanded = !root.model.modesExpanded

        Symbol {
            id: symbol

            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp12
            anchors.verticalCenter: parent.verticalCenter
            name: root.model.selectedModeSymbol
            color: root.model.selectedModeIsWarning ? Qt.alpha(Theme.bypass, 0.7) : Theme.text2
        }
        Label {
            anchors.left: symbol.right
            anchors.leftMargin: Tokens.sp8 + Tokens.sp2
            anchors.right: chevron.left
            anchors.verticalCenter: parent.verticalCenter
            text: root.model.selectedModeTitle
            textStyle: Tokens.bodyStrong
            color: root.model.selectedModeIsWarning ? Qt.alpha(Theme.bypass, 0.8) : Theme.text
            Accessible.ignored: true
        }
        Symbol {
            id: chevron

            anchors.right: parent.right
            anchors.rightMargin: Tokens.sp12 + Tokens.sp2
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron.down"
            size: Tokens.iconTiny
            rotation: root.model.modesExpanded ? 180 : 0
        }
    }
    Item {
        id: modes

        anchors.top: closed.bottom
        width: parent.width
        height: root.model.modesExpanded ? list.height + Tokens.sp2 : 0
        clip: true
        visible: height > 0

        Behavior on height {
            NumberAnimation {
                duration: Tokens.expandMs
                easing.type: Easing.OutCubic
            }
        }

        Hairline {
            width: parent.width
        }
        Column {
            id: list

            x: 1
            y: 1
            width: parent.width - 2
            opacity: root.model.modesExpanded ? 1 : 0
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Mode")

            Behavior on opacity {
                NumberAnimation {
                    duration: Tokens.expandMs
                }
            }

            Repeater {
                model: root.model.modes

                PermissionModeRow {
                    required property int index
                    required property var modelData

                    width: list.width
                    symbol: modelData.symbol
                    title: modelData.title
                    subtitle: modelData.subtitle
                    isSelected: modelData.selected
                    isWarning: modelData.isWarning
                    enabled: root.model.modesExpanded
                    onClicked: {
                        closed.forceActiveFocus(focusReason);
                        root.model.selectMode(index);
                    }
                }
            }
        }
    }
}
