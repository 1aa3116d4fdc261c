import QtQuick
import Vantry.App
import Vantry.Panels
import Vantry.Style

/// The agent's hook, and what has come of its installation. Nothing jumps when that is known.
OnboardingPage {
    id: root

    required property OnboardingViewModel viewModel

    isCentred: true
    symbol: "link.badge.plus"
    title: qsTr("Install Hook")
    note: qsTr("The hook connects Claude Code sessions to Vantry.\nIt registers a small script that runs on session events.")

    Column {
        width: parent.width
        height: Math.max(92, implicitHeight)
        spacing: Tokens.sp4

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: root.viewModel.hookOutcome !== ""
            spacing: Tokens.sp8

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: root.viewModel.hasInstallFailed ? "xmark.circle" : "checkmark.circle.fill"
                color: root.viewModel.hasInstallFailed ? Theme.error : Theme.readyDot
            }
            Label {
                objectName: "hookOutcome"
                anchors.verticalCenter: parent.verticalCenter
                text: root.viewModel.hookOutcome
                textStyle: Tokens.row
            }
        }
        SelectableText {
            objectName: "hookDetail"
            width: parent.width
            visible: text !== ""
            activeFocusOnTab: visible && root.viewModel.hasInstallFailed
            horizontalAlignment: TextEdit.AlignHCenter
            font: Tokens.meta.font
            color: Theme.text2
            text: root.viewModel.hookDetail
        }
        Item {
            width: parent.width
            height: Tokens.sp4
            visible: retry.visible
        }
        Button {
            id: retry

            objectName: "retry"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: root.viewModel.hasInstallFailed
            focusPolicy: Qt.TabFocus
            size: Button.Regular
            text: qsTr("Retry")
            onClicked: root.viewModel.installHook()
        }
    }
}
