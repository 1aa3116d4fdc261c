import QtQuick
import Vantry.Style

/// The answers to a permission request, "Allow" always at the same place.
FocusScope {
    id: root

    required property bool hasAlwaysAllow
    required property bool allowPressed

    readonly property Item last: allow
    /// The three don't fit into one line.
    readonly property bool wraps: hasAlwaysAllow && deny.width + alwaysAllow.width + allow.width + 2 * Tokens.sp6 > width

    signal allowed
    signal denied
    signal alwaysAllowed
    /// Tab goes on from the last button.
    signal tabbedOut

    implicitHeight: wraps ? 2 * Tokens.buttonSmall + Tokens.sp6 : Tokens.buttonSmall

    Button {
        id: deny

        anchors.right: root.hasAlwaysAllow && !root.wraps ? alwaysAllow.left : allow.left
        anchors.rightMargin: Tokens.sp6
        disabledReason: root.allowPressed ? qsTr("Already allowed") : ""
        text: qsTr("Deny")
        onClicked: root.denied()
    }
    Button {
        id: alwaysAllow

        anchors.right: root.wraps ? parent.right : allow.left
        anchors.rightMargin: root.wraps ? 0 : Tokens.sp6
        y: root.wraps ? Tokens.buttonSmall + Tokens.sp6 : 0
        visible: root.hasAlwaysAllow
        disabledReason: root.allowPressed ? qsTr("Already allowed") : ""
        text: qsTr("Always Allow")
        onClicked: root.alwaysAllowed()
    }
    Button {
        id: allow

        anchors.right: parent.right
        width: Math.max(52, implicitWidth)
        kind: Button.Accent
        done: root.allowPressed
        text: qsTr("Allow")
        onClicked: root.allowed()
        Keys.onTabPressed: root.tabbedOut()
    }
}
