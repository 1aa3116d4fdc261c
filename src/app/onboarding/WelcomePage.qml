import QtQuick
import Vantry.Style

/// The set-up's first step.
OnboardingPage {
    isCentred: true
    title: qsTr("Welcome to Vantry")
    note: qsTr("Vantry monitors your Claude Code sessions and notifies you\nwhen they need attention — right from your menu bar.")
    picture: Item {
        implicitWidth: 84
        implicitHeight: 84 + Tokens.sp8

        AppIcon {
            size: 84
            Accessible.ignored: true
        }
    }

    Label {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: qsTr("Let's make sure everything is set up.")
        color: Theme.text3
    }
}
