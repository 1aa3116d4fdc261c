import QtQuick
import Vantry.App
import Vantry.Style

/// Start, display, notifications, the agent's hook, and sounds.
SettingsPage {
    id: root

    required property GeneralSettingsTabModel model
    readonly property bool isActive: Window.active
    readonly property list<string> modes: ["menuBar", "notch", "both"]

    onIsActiveChanged: {
        if (isActive)
            model.refresh();
    }

    Connections {
        target: root.model

        function onHookTold(outcome: string) {
            hook.hasNews = true;
            root.announce(outcome);
        }
    }
    SettingsGroup {
        SwitchRow {
            isFirst: true
            label: qsTr("Launch at Login")
            switchName: "launchAtLogin"
            on: root.model.launchAtLogin
            onFlipped: on => root.model.launchAtLogin = on
        }
        SettingsRow {
            label: qsTr("Display Mode")

            SegmentedControl {
                objectName: "displayMode"
                label: qsTr("Display Mode")
                choices: [qsTr("Menu Bar"), qsTr("Notch"), qsTr("Both")]
                selected: root.modes.indexOf(root.model.displayModeRaw)
                onChosen: index => root.model.displayModeRaw = root.modes[index]
            }
        }
        SwitchRow {
            isChild: true
            label: qsTr("Virtual Notch")
            note: qsTr("Draws a notch on screens that have none.")
            switchName: "virtualNotch"
            on: root.model.virtualNotch
            disabledReason: root.model.canPlaceWindows ? "" : qsTr("This desktop places windows itself")
            onFlipped: on => root.model.virtualNotch = on
        }
        SettingsNote {
            objectName: "displayModeNote"
            visible: text !== ""
            text: root.model.displayModeNote
        }
    }
    NotificationSettings {
        model: root.model
    }
    HookSettings {
        id: hook

        property bool hasNews: false

        model: root.model
        // Only now the outcome has its place.
        onHeightChanged: {
            if (hasNews)
                root.show(hook);
            hasNews = false;
        }
    }
    SettingsGroup {
        title: qsTr("Sounds")

        SwitchRow {
            isFirst: true
            isMaster: true
            label: qsTr("Sounds")
            switchName: "soundsEnabled"
            on: root.model.soundsEnabled
            onFlipped: on => root.model.soundsEnabled = on
        }
        Hairline {
            x: Tokens.borderWidth
            width: parent.width - 2 * x
        }
        SoundRows {
            width: parent.width
            model: root.model.soundSelections
            disabledReason: root.model.soundsEnabled ? "" : qsTr("Sounds are off")
        }
    }
}
