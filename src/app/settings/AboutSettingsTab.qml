import QtQuick
import Vantry.App
import Vantry.Panels
import Vantry.Style

/// What this is, and which version of it.
ScrollColumn {
    id: root

    required property AboutSettingsTabModel model

    margins: Tokens.sp20
    marginAbove: Math.max(margins, (height - content.implicitHeight) / 2)
    ground: Theme.page

    Column {
        id: content

        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Tokens.sp6

        AppIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 80
            height: width
        }
        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Vantry"
            textStyle: Tokens.display
            Accessible.role: Accessible.Heading
        }
        Label {
            anchors.horizontalCenter: parent.horizontalCenter
            text: root.model.version
            textStyle: Tokens.body
            color: Theme.text2
            Accessible.name: qsTr("Version %1").arg(text)
        }
        Item {
            width: 1
            height: Tokens.sp12
        }
        Button {
            objectName: "checkForUpdates"
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.max(180, implicitWidth)
            size: Button.Regular
            text: qsTr("Check for Updates…")
            disabledReason: root.model.canCheckForUpdates ? "" : qsTr("The system's package manager keeps Vantry up to date")
            onClicked: root.model.checkForUpdates()
        }
        Button {
            objectName: "quit"
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.max(180, implicitWidth)
            size: Button.Regular
            text: qsTr("Quit Vantry")
            onClicked: root.model.quit()
        }
    }
}
