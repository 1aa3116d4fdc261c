import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// A permission request: the tool, what it would do, and the answers, "Allow" always at the same place.
Item {
    id: root

    required property ChatViewModel model
    property real maximumHeight: Infinity

    /// The three don't fit into one line.
    readonly property bool wraps: model.hasAlwaysAllow && deny.width + alwaysAllow.width + allow.width + 2 * Tokens.sp6 > width
    readonly property real buttonsHeight: wraps ? 2 * Tokens.button + Tokens.sp6 : Tokens.button

    implicitHeight: buttons.y + buttonsHeight

    ActionTitle {
        id: title

        width: parent.width
        symbol: "exclamationmark.triangle.fill"
        text: qsTr("Permission needed")
    }
    Rectangle {
        id: box

        anchors.top: title.bottom
        anchors.topMargin: Tokens.sp6
        width: parent.width
        height: Math.min(input.implicitHeight, 4 * Tokens.code.lineHeight) + 2 * Tokens.sp4
        radius: Tokens.radiusChip
        color: Theme.bg
        border.width: Tokens.borderWidth
        border.color: Theme.tintLine
        LayoutMirroring.enabled: false
        LayoutMirroring.childrenInherit: true

        Label {
            id: tool

            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp8
            anchors.top: parent.top
            anchors.topMargin: Tokens.sp4
            width: Math.min(implicitWidth, parent.width / 3)
            text: root.model.toolName
            textStyle: Tokens.code
            color: Theme.text2
        }
        Flickable {
            id: flickable

            anchors.left: tool.right
            anchors.leftMargin: Tokens.sp8
            anchors.right: parent.right
            anchors.rightMargin: 1
            anchors.top: parent.top
            anchors.topMargin: Tokens.sp4
            anchors.bottom: parent.bottom
            anchors.bottomMargin: Tokens.sp4
            clip: interactive
            contentHeight: input.implicitHeight
            interactive: contentHeight > height
            boundsBehavior: Flickable.StopAtBounds
            activeFocusOnTab: interactive
            Keys.onUpPressed: contentY = Math.max(0, contentY - Tokens.code.lineHeight)
            Keys.onDownPressed: contentY = Math.min(contentHeight - height, contentY + Tokens.code.lineHeight)
            T.ScrollBar.vertical: ThinScrollBar {}

            Label {
                id: input

                width: parent.width - Tokens.sp8
                wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                text: root.model.toolInput
                textStyle: Tokens.code
            }
        }
        Rectangle {
            anchors.fill: parent
            visible: flickable.activeFocus
            radius: parent.radius
            color: "transparent"
            border.width: Tokens.focusRingWidth
            border.color: Theme.focus
            Accessible.ignored: true
        }
    }
    Item {
        id: buttons

        anchors.top: box.bottom
        anchors.topMargin: Tokens.sp8
        width: parent.width
        height: root.buttonsHeight

        Button {
            id: deny

            anchors.right: root.model.hasAlwaysAllow && !root.wraps ? alwaysAllow.left : allow.left
            anchors.rightMargin: Tokens.sp6
            kind: Button.Plain
            size: Button.Regular
            leftPadding: Tokens.sp12 + (mirrored ? chevron.width + Tokens.sp6 : 0)
            rightPadding: Tokens.sp12 + (mirrored ? 0 : chevron.width + Tokens.sp6)
            enabled: !root.model.allowPressed
            text: qsTr("Deny")
            textColor: Theme.text2
            Accessible.role: Accessible.ButtonMenu
            onClicked: denyMenu.popup(deny, 0, -denyMenu.height)

            Symbol {
                id: chevron

                anchors.right: parent.right
                anchors.rightMargin: Tokens.sp12
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.down"
                size: Tokens.iconTiny
            }
            PopupMenu {
                id: denyMenu

                PopupMenuItem {
                    text: qsTr("Deny")
                    onTriggered: root.model.deny()
                }
                PopupMenuItem {
                    text: qsTr("Deny & Stop")
                    destructive: true
                    onTriggered: root.model.denyAndStop()
                }
            }
        }
        Button {
            id: alwaysAllow

            anchors.right: root.wraps ? parent.right : allow.left
            anchors.rightMargin: root.wraps ? 0 : Tokens.sp6
            y: root.wraps ? Tokens.button + Tokens.sp6 : 0
            visible: root.model.hasAlwaysAllow
            size: Button.Regular
            enabled: !root.model.allowPressed
            text: qsTr("Always Allow")
            onClicked: root.model.alwaysAllow()
        }
        Button {
            id: allow

            anchors.right: parent.right
            width: Math.max(68, implicitWidth)
            kind: Button.Accent
            size: Button.Regular
            done: root.model.allowPressed
            text: qsTr("Allow")
            onClicked: root.model.allow()
        }
    }
}
