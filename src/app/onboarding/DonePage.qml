import QtQuick
import Vantry.Style

/// The set-up's last step.
OnboardingPage {
    isCentred: true
    title: qsTr("You're All Set!")
    note: qsTr("Vantry will live in your menu bar and notify you\nwhen Claude Code sessions need your attention.")
    picture: Item {
        implicitWidth: Tokens.iconHero
        implicitHeight: Tokens.iconHero + Tokens.sp8

        Symbol {
            name: "checkmark.circle.fill"
            size: Tokens.iconHero
            color: Theme.readyDot
        }
    }

    Label {
        width: parent.width
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: qsTr("Click the menu bar icon to get started.")
        color: Theme.text3
    }
}
