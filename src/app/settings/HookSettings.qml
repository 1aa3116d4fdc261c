import QtQuick
import Vantry.App
import Vantry.Panels
import Vantry.Style

/// The agent's hook: whether it is installed, and what came of installing it.
SettingsGroup {
    id: root

    required property GeneralSettingsTabModel model
    readonly property string state: !model.isHookKnown ? "" : model.isHookInstalled ? qsTr("installed") : qsTr("not installed")

    title: qsTr("Integration")

    Item {
        width: parent.width
        implicitHeight: Math.max(texts.implicitHeight, install.implicitHeight) + 2 * (Tokens.sp8 + Tokens.sp2)

        Symbol {
            id: status

            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp12
            anchors.top: texts.top
            anchors.topMargin: Tokens.sp2
            visible: root.model.isHookKnown
            name: root.model.isHookInstalled ? "checkmark.circle.fill" : "xmark.circle"
            color: root.model.isHookInstalled ? Theme.readyDot : Theme.error
            size: Tokens.iconRegular
        }
        Column {
            id: texts

            anchors.left: status.right
            anchors.leftMargin: Tokens.sp12
            anchors.right: install.left
            anchors.rightMargin: Tokens.sp12
            y: Tokens.sp8 + Tokens.sp2
            spacing: Tokens.sp2

            Label {
                width: parent.width
                text: qsTr("Claude Code Hook")
                textStyle: Tokens.control
                Accessible.name: root.state === "" ? text : qsTr("%1, %2").arg(text).arg(root.state)
            }
            Label {
                width: parent.width
                text: qsTr("Connects Claude Code sessions to Vantry. Restart sessions after installing.")
                textStyle: Tokens.meta
                color: Theme.text2
                wrapMode: Text.Wrap
            }
            SelectableText {
                objectName: "hookStatusMessage"
                width: parent.width
                visible: text !== ""
                text: root.model.hookStatusMessage
                font: Tokens.meta.font
                color: root.model.hasHookFailed ? Theme.error : Theme.ready
            }
        }
        Button {
            id: install

            objectName: "installHook"
            anchors.right: parent.right
            anchors.rightMargin: Tokens.sp12
            y: Tokens.sp8
            size: Button.Regular
            text: root.model.isHookInstalled ? qsTr("Reinstall") : qsTr("Install")
            busy: root.model.isInstallingHook
            onClicked: root.model.installHook()
        }
    }
}
