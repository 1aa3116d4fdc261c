import QtQuick
import Vantry.App
import Vantry.Style

/// Which notifications are shown, as far as the user lets any be shown, and somebody shows them.
SettingsGroup {
    id: root

    required property GeneralSettingsTabModel model
    readonly property bool isAuthorized: model.notificationStatus === GeneralSettingsTabModel.Authorized
    readonly property string masterReason: model.canNotify ? "" : model.notificationNote
    readonly property string childReason: masterReason !== "" ? masterReason : model.notificationsEnabled ? "" : qsTr("Notifications are off")

    title: qsTr("Notifications")

    SwitchRow {
        visible: root.isAuthorized
        isFirst: true
        isMaster: true
        label: qsTr("Notifications")
        switchName: "notificationsEnabled"
        on: root.model.notificationsEnabled
        disabledReason: root.masterReason
        onFlipped: on => root.model.notificationsEnabled = on
    }
    SwitchRow {
        visible: root.isAuthorized
        isChild: true
        label: qsTr("Permission Prompts")
        switchName: "notifyPermission"
        on: root.model.notifyPermission
        disabledReason: root.childReason
        onFlipped: on => root.model.notifyPermission = on
    }
    SwitchRow {
        visible: root.isAuthorized
        isChild: true
        label: qsTr("Task Complete")
        switchName: "notifyTaskComplete"
        on: root.model.notifyTaskComplete
        disabledReason: root.childReason
        onFlipped: on => root.model.notifyTaskComplete = on
    }
    SwitchRow {
        visible: root.isAuthorized
        isChild: true
        label: qsTr("Questions")
        switchName: "notifyQuestion"
        on: root.model.notifyQuestion
        disabledReason: root.childReason
        onFlipped: on => root.model.notifyQuestion = on
    }
    SettingsNote {
        objectName: "notificationNote"
        visible: root.isAuthorized && text !== ""
        text: root.model.notificationNote
    }
    SettingsRow {
        visible: root.model.notificationStatus === GeneralSettingsTabModel.Denied
        isFirst: true
        label: ""
        note: qsTr("Enable in System Settings > Notifications > Vantry")

        Button {
            objectName: "openSystemSettings"
            size: Button.Regular
            text: qsTr("Open System Settings")
            onClicked: root.model.openSystemSettings()
        }
    }
    SettingsRow {
        visible: root.model.notificationStatus === GeneralSettingsTabModel.NotDetermined
        isFirst: true
        label: qsTr("Notifications")

        Button {
            objectName: "requestPermission"
            size: Button.Regular
            text: qsTr("Request Permission")
            onClicked: root.model.requestPermission()
        }
    }
}
