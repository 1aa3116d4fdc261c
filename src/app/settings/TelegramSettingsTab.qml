import QtQuick
import Vantry.App
import Vantry.Style

/// The user's Telegram bot.
SettingsPage {
    id: root

    required property TelegramSettingsTabModel model

    // A field that goes with its tab is not told that it loses the focus.
    Component.onDestruction: model.commit()

    SettingsGroup {
        SettingsRow {
            isFirst: true
            label: qsTr("Status")

            Row {
                spacing: Tokens.sp6

                Rectangle {
                    anchors.verticalCenter: parent.verticalCenter
                    width: Tokens.stateDotSize
                    height: width
                    radius: width / 2
                    color: [Theme.error, Theme.accent, Theme.readyDot][root.model.status]
                    Accessible.ignored: true
                }
                Label {
                    objectName: "status"
                    text: root.model.statusText
                    textStyle: Tokens.control
                    Accessible.name: qsTr("Status: %1").arg(text)
                }
            }
        }
        SwitchRow {
            label: qsTr("Notifications")
            switchName: "telegramNotifications"
            on: root.model.notificationsOn
            onFlipped: on => root.model.notificationsOn = on
        }
    }
    SettingsGroup {
        FieldRow {
            isFirst: true
            label: qsTr("Bot Token")

            SecretField {
                objectName: "botToken"
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width
                label: qsTr("Bot Token")
                secret: root.model.botToken
                onSecretEdited: secret => root.model.botToken = secret
                onDone: root.model.commit()
            }
        }
        FieldRow {
            label: qsTr("Chat ID")

            FormField {
                objectName: "chatID"
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width
                label: qsTr("Chat ID")
                text: root.model.chatID
                onTextEdited: root.model.chatID = text
                onDone: root.model.commit()
            }
        }
    }
    Label {
        x: Tokens.sp2
        width: parent.width - 2 * x
        text: qsTr("Create a bot via @BotFather, then send /start to get your chat ID.")
        textStyle: Tokens.meta
        color: Theme.text2
        wrapMode: Text.Wrap
    }
}
