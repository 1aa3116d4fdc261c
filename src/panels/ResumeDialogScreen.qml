import QtQuick
import Vantry.Panels
import Vantry.Style

/// How to go on with a session that has ended.
FocusScope {
    id: root

    required property ResumeDialogModel model

    signal back

    ScreenHeader {
        id: header

        width: parent.width
        title: qsTr("Resume Session")
        showBack: true
        onBack: root.back()
    }
    ScrollColumn {
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        width: parent.width
        margins: Tokens.sp16

        Item {
            width: parent.width
            height: 34

            Rectangle {
                id: tile

                anchors.left: parent.left
                width: height
                height: parent.height
                radius: Tokens.radiusRow
                color: Theme.sunken
                border.width: Tokens.borderWidth
                border.color: Theme.line

                Symbol {
                    anchors.centerIn: parent
                    name: root.model.toolSymbol
                }
            }
            Column {
                anchors.left: tile.right
                anchors.leftMargin: Tokens.sp8 + Tokens.sp2
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter

                Label {
                    width: parent.width
                    text: root.model.title
                    textStyle: Tokens.title
                }
                PathLabel {
                    width: parent.width
                    visible: text !== ""
                    text: root.model.displayPath
                    path: root.model.path
                }
            }
        }
        BranchBlock {
            width: parent.width
            model: root.model
        }
        Column {
            width: parent.width
            spacing: Tokens.sp8

            ActionRow {
                width: parent.width
                focus: true
                showsChevron: true
                symbol: "arrow.uturn.backward.circle"
                title: qsTr("Resume This Session")
                subtitle: qsTr("Continue where you left off")
                onClicked: root.model.resume()
            }
            ActionRow {
                width: parent.width
                visible: root.model.canStartFresh
                showsChevron: true
                symbol: "plus.circle"
                title: qsTr("New Session")
                subtitle: qsTr("Start fresh in %1").arg(root.model.projectName)
                onClicked: root.model.startFresh()
            }
        }
    }
}
