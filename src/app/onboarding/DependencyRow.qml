import QtQuick
import Vantry.App
import Vantry.Panels
import Vantry.Style

/// A program that is needed: where it is, or how to get it. It has the same height whatever is known of it.
Item {
    id: root

    required property string symbol
    required property string title
    /// What to type where it is missing.
    required property string hint
    required property dependencyStatus status

    readonly property string statusText: status.isFound ? qsTr("Found, %1").arg(status.path) : status.isMissing ? qsTr("Not found") : status.isChecking ? qsTr("Checking") : ""

    implicitHeight: 57
    Accessible.role: Accessible.ListItem
    Accessible.name: statusText === "" ? title : qsTr("%1, %2").arg(title).arg(statusText)

    Symbol {
        id: picture

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp12 + Tokens.sp2
        anchors.verticalCenter: parent.verticalCenter
        name: root.symbol
    }
    Label {
        id: titleLabel

        anchors.left: picture.right
        anchors.leftMargin: Tokens.sp12
        anchors.right: state.left
        anchors.rightMargin: Tokens.sp6
        y: Tokens.sp8 + Tokens.sp2
        text: root.title
        textStyle: Tokens.row
        Accessible.ignored: true
    }
    PathLabel {
        anchors.left: titleLabel.left
        anchors.right: titleLabel.right
        anchors.verticalCenter: missing.verticalCenter
        visible: root.status.isFound
        path: root.status.path
        text: root.status.path
        Accessible.ignored: true
    }
    Row {
        id: missing

        anchors.left: titleLabel.left
        anchors.top: titleLabel.bottom
        height: Tokens.hitMin
        visible: root.status.isMissing
        spacing: Tokens.sp4

        Label {
            id: verdict

            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("Not found")
            textStyle: Tokens.meta
            color: Theme.error
            Accessible.ignored: true
        }
        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: hint.width + 2 * Tokens.sp6
            height: hint.height + 2
            radius: Tokens.radiusChip
            color: Theme.sunken

            Label {
                id: hint

                x: Tokens.sp6
                y: 1
                width: Math.min(implicitWidth, titleLabel.width - verdict.width - copy.width - 2 * missing.spacing - 2 * x)
                text: root.hint
                textStyle: Tokens.code
            }
        }
        CopyButton {
            id: copy

            objectName: "copy"
            anchors.verticalCenter: parent.verticalCenter
            content: root.hint
        }
    }
    Item {
        id: state

        anchors.right: parent.right
        anchors.rightMargin: Tokens.sp12
        anchors.verticalCenter: parent.verticalCenter
        width: Tokens.iconLarge
        height: Tokens.iconLarge

        BusyRing {
            anchors.centerIn: parent
            visible: root.status.isChecking
            size: Tokens.iconRegular
        }
        Symbol {
            anchors.fill: parent
            visible: root.status.isFound || root.status.isMissing
            name: root.status.isFound ? "checkmark.circle.fill" : "xmark.circle"
            color: root.status.isFound ? Theme.readyDot : Theme.error
        }
    }
}
