import QtQuick
import Vantry.App
import Vantry.Style

/// Whether the programs are there that the hook needs.
OnboardingPage {
    id: root

    required property OnboardingViewModel viewModel

    title: qsTr("Checking Dependencies")
    note: qsTr("Vantry needs these to connect to Claude Code.")

    Rectangle {
        width: parent.width
        height: rows.height
        radius: Tokens.radiusRow
        color: Theme.raised
        border.width: Tokens.borderWidth
        border.color: Theme.line

        Column {
            id: rows

            width: parent.width
            Accessible.role: Accessible.List
            Accessible.name: root.title

            DependencyRow {
                objectName: "claudeCode"
                width: parent.width
                symbol: "terminal"
                title: qsTr("Claude Code CLI")
                hint: root.viewModel.claudeCodeHint
                status: root.viewModel.claudeCodeStatus
            }
            Hairline {
                width: parent.width
            }
            DependencyRow {
                objectName: "python"
                width: parent.width
                symbol: "chevron.left.forwardslash.chevron.right"
                title: qsTr("Python 3")
                hint: root.viewModel.pythonHint
                status: root.viewModel.pythonStatus
            }
        }
    }
    Button {
        objectName: "recheck"
        anchors.horizontalCenter: parent.horizontalCenter
        focusPolicy: Qt.TabFocus
        size: Button.Regular
        symbol: "arrow.triangle.2.circlepath"
        text: qsTr("Re-check")
        onClicked: root.viewModel.checkDependencies()
    }
}
