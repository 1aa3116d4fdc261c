import QtQuick
import Vantry.Style

/// What the program is good for.
OnboardingPage {
    title: qsTr("What Vantry Does")

    Grid {
        id: grid

        width: parent.width
        columns: 2
        spacing: Tokens.sp8 + Tokens.sp2
        Accessible.role: Accessible.List
        Accessible.name: qsTr("What Vantry Does")

        // The component below is part of this file alone, and sees what stands around it.
        // qmllint disable unqualified
        component Capability: CapabilityCard {
            width: (grid.width - grid.columnSpacing) / grid.columns
        }

        Capability {
            symbol: "hand.thumbsup.fill"
            title: qsTr("Allow / Deny")
            caption: qsTr("Handle permissions from the menu bar")
        }
        Capability {
            symbol: "bell.badge.fill"
            title: qsTr("Notifications")
            caption: qsTr("Know when sessions need attention")
        }
        Capability {
            symbol: "magnifyingglass"
            title: qsTr("Session Search")
            caption: qsTr("Find and resume any past session")
        }
        Capability {
            symbol: "speaker.wave.2.fill"
            title: qsTr("Sound Alerts")
            caption: qsTr("Distinct sounds per event type")
        }
        Capability {
            symbol: "mic.fill"
            title: qsTr("Voice Dictation")
            caption: qsTr("Respond to prompts hands-free")
        }
        Capability {
            symbol: "rectangle.stack.fill"
            title: qsTr("Multi-Session")
            caption: qsTr("Monitor all agents at a glance")
        }
    }
}
