import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// The mode in which an agent starts: the chosen one, and when opened all of them in the same frame.
Rectangle {
    id: root

    required property ProjectDetailModel model

    implicitHeight: Tokens.pickerRowHeight + modes.height
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

    T.Button {
        id: closed

        x: 1
        y: 1
        width: parent.width - 2 * x
        implicitHeight: Tokens.pickerRowHeight - 2 * y
        text: root.model.selectedModeTitle
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus
        Accessible.name: qsTr("Mode, %1").arg(text)
        Accessible.onPressAction: clicked()
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        onClicked: root.model.modesExpanded = !root.model.modesExpanded
        background: RaisedSurface {
            border.width: 0
            hovered: closed.hovered
            pressed: closed.down
        }

        FocusRing {
            inside: true
            targetRadius: root.radius
        }

        Symbol {
            id: symbol

            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp12 - 1
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
            anchors.rightMargin: Tokens.sp12 + 1
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron.down"
            size: Tokens.iconTiny
            rotation: root.model.modesExpanded ? 180 : 0
        }
    }
    Item {
        id: modes

        y: Tokens.pickerRowHeight - 1
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

                // The components below are part of this file alone, and see what stands around them.
                // qmllint disable unqualified
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
