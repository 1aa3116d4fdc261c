import QtQuick
import Vantry.App
import Vantry.Style

/// A row for the sound of each event: its choice, and a button that plays it.
Column {
    id: root

    required property SoundSelections model
    /// Why no sound can be chosen now; empty while one can.
    property string disabledReason

    Repeater {
        model: root.model

        Item {
            id: row

            required property int index
            required property string label
            required property string symbol
            required property list<string> choices
            required property int current
            required property string shown

            width: root.width
            implicitHeight: 38

            Hairline {
                width: parent.width
                visible: row.index > 0
            }
            Item {
                anchors.fill: parent
                opacity: root.disabledReason === "" ? 1 : Tokens.disabledOpacity

                Symbol {
                    id: picture

                    anchors.left: parent.left
                    anchors.leftMargin: Tokens.sp12
                    anchors.verticalCenter: parent.verticalCenter
                    name: row.symbol
                }
                Label {
                    anchors.left: picture.right
                    anchors.leftMargin: Tokens.sp8 + Tokens.sp2
                    anchors.right: parent.right
                    anchors.rightMargin: combo.width + play.width + Tokens.sp12 + 2 * Tokens.sp8
                    anchors.verticalCenter: parent.verticalCenter
                    text: row.label
                    textStyle: Tokens.control
                }
            }
            ComboBox {
                id: combo

                objectName: "sound" + row.index
                anchors.right: play.left
                anchors.rightMargin: Tokens.sp12
                anchors.verticalCenter: parent.verticalCenter
                label: row.label
                model: row.choices
                selected: row.current
                displayText: row.shown
                disabledReason: root.disabledReason
                onChosen: choice => root.model.select(row.index, choice)
            }
            IconButton {
                id: play

                objectName: "preview" + row.index
                anchors.right: parent.right
                anchors.rightMargin: Tokens.sp8
                anchors.verticalCenter: parent.verticalCenter
                size: Tokens.hitMin
                symbolSize: Tokens.iconSmall
                symbol: "play.fill"
                text: qsTr("Preview %1").arg(row.label)
                onClicked: root.model.preview(row.index)
            }
        }
    }
}
