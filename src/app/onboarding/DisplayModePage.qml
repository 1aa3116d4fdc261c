import QtQuick
import Vantry.App
import Vantry.Style

/// Where sessions are shown: a card for each place, of which the arrow keys choose one.
OnboardingPage {
    id: root

    required property OnboardingViewModel viewModel

    readonly property int forward: LayoutMirroring.enabled ? -1 : 1

    symbol: "rectangle.topthird.inset.filled"
    title: qsTr("Choose Display Mode")
    note: qsTr("Where should Vantry show your sessions?")

    Row {
        id: cards

        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Tokens.sp8 + Tokens.sp2
        Accessible.role: Accessible.Grouping
        Accessible.name: root.title
        Keys.onLeftPressed: root.viewModel.moveDisplayMode(-root.forward)
        Keys.onRightPressed: root.viewModel.moveDisplayMode(root.forward)
        Keys.onUpPressed: root.viewModel.moveDisplayMode(-1)
        Keys.onDownPressed: root.viewModel.moveDisplayMode(1)

        Repeater {
            model: root.viewModel.displayModes

            DisplayModeCard {
                required property var modelData
                required property int index

                objectName: "mode" + modelData.mode
                width: (440 - 2 * cards.spacing) / 3
                symbol: modelData.symbol
                text: modelData.title
                caption: modelData.caption
                hasMenuBar: modelData.showsMenuBar
                hasNotch: modelData.showsNotch
                isSelected: modelData.mode === root.viewModel.selectedDisplayMode
                isTabStop: isSelected || (index === 0 && !root.viewModel.isSelectedModeOffered)
                onClicked: root.viewModel.selectDisplayMode(modelData.mode)
            }
        }
    }
}
