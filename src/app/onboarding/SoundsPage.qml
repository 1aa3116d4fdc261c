import QtQuick
import Vantry.App
import Vantry.Style

/// Which sound each event has.
OnboardingPage {
    id: root

    required property OnboardingViewModel viewModel

    symbol: "speaker.wave.2.fill"
    title: qsTr("Configure Sounds")
    note: qsTr("Vantry plays a sound when sessions need attention.\nPick a sound for each event, or turn them off.")
    spacing: Tokens.sp12

    Rectangle {
        width: parent.width
        height: rows.height
        radius: Tokens.radiusRow
        color: Theme.raised
        border.width: Tokens.borderWidth
        border.color: Theme.line

        SoundRows {
            id: rows

            width: parent.width
            model: root.viewModel.sounds
        }
    }
    Label {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: qsTr("You can also use custom sound files later in Settings.")
        textStyle: Tokens.meta
        color: Theme.text2
    }
}
