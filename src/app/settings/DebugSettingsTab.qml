import QtQuick
import Vantry.App

/// What helps when something goes wrong.
SettingsPage {
    id: root

    required property DebugSettingsTabModel model

    SettingsGroup {
        ActionSetting {
            title: qsTr("Reset Onboarding")
            note: qsTr("Shows the setup wizard again on next launch.")
            outcome: root.model.showResetConfirmation ? qsTr("Reset! Restart to see onboarding.") : ""
            action: qsTr("Reset")
            actionName: "resetOnboarding"
            onActed: {
                root.model.resetOnboarding();
                root.announce(outcome);
            }
        }
    }
    SettingsGroup {
        ActionSetting {
            title: qsTr("Debug Log")
            note: root.model.debugLogPath
            isPath: true
            action: root.model.revealLabel
            actionName: "revealDebugLog"
            onActed: root.model.revealDebugLog()
        }
    }
}
