import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// The top of the chat: the way back, the session's name, its context, and how it is stopped.
FocusScope {
    id: root

    required property ChatViewModel model

    implicitHeight: Tokens.headerHeight

    Button {
        id: back

        anchors.left: parent.left
        anchors.leftMargin: Tokens.sp4
        anchors.verticalCenter: parent.verticalCenter
        kind: Button.Plain
        size: Button.Regular
        horizontalPadding: Tokens.sp6
        symbol: "chevron.left"
        text: qsTr("Back")
        textColor: Theme.text2
        onClicked: root.model.close()
    }
    T.AbstractButton {
        id: title

        /// Between the way back and the context, in whichever direction.
        readonly property real before: back.anchors.leftMargin + back.width + anchors.leftMargin
        readonly property real behind: stop.anchors.rightMargin + stop.width + context.anchors.rightMargin + context.width
        readonly property real room: root.width - before - behind - Tokens.sp8

        anchors.left: back.right
        anchors.leftMargin: Tokens.sp2
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: name.implicitWidth + chevron.width + leftPadding + rightPadding + Tokens.sp6
        implicitHeight: Tokens.buttonSmall
        width: Math.min(implicitWidth, room)
        horizontalPadding: Tokens.sp4
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus
        text: root.model.title
        Accessible.role: Accessible.ButtonMenu
        Accessible.name: text
        Accessible.description: qsTr("Session info")
        Accessible.onPressAction: title.clicked()
        Keys.onReturnPressed: title.clicked()
        Keys.onEnterPressed: title.clicked()
        onClicked: root.model.showSessionInfo = !root.model.showSessionInfo

        contentItem: Item {
            Label {
                id: name

                anchors.left: parent.left
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, title.availableWidth - chevron.width - Tokens.sp6)
                text: title.text
                textStyle: Tokens.heading
                Accessible.ignored: true
            }
            Symbol {
                id: chevron

                anchors.left: name.right
                anchors.leftMargin: Tokens.sp6
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.down"
                size: Tokens.iconTiny
            }
        }
        background: ControlSurface {
            radius: Tokens.radiusControl
            hovered: title.hovered || root.model.showSessionInfo
            pressed: title.down
        }

        FocusRing {
            target: title
            inside: true
        }
        SessionInfoPopover {
            model: root.model
            x: (root.LayoutMirroring.enabled ? root.width - width - Tokens.sp16 : Tokens.sp16) - title.x
            y: Tokens.headerHeight - title.y + 1
            width: root.width - 2 * Tokens.sp16
        }
    }
    Column {
        id: context

        anchors.right: stop.left
        anchors.rightMargin: root.model.showKillConfirm ? Tokens.sp12 : Tokens.sp8 + Tokens.sp2
        anchors.verticalCenter: parent.verticalCenter
        width: visible ? Tokens.contextBarWidth : 0
        visible: root.model.contextUsed >= 0
        spacing: Tokens.sp2

        Label {
            anchors.right: parent.right
            text: root.model.contextText
            textStyle: Tokens.context
            color: Theme.text2
            Accessible.ignored: true
        }
        ContextBar {
            used: root.model.contextUsed
            level: root.model.contextLevel
        }
    }
    FocusScope {
        id: stop

        readonly property bool confirms: root.model.showKillConfirm

        anchors.right: parent.right
        anchors.rightMargin: confirms ? Tokens.sp12 : Tokens.sp8
        anchors.verticalCenter: parent.verticalCenter
        width: !root.model.isAlive ? 0 : confirms ? confirmation.width : stopButton.width
        height: Tokens.iconButtonSize
        visible: root.model.isAlive
        // The button that was pressed goes; what takes its place takes the focus.
        onConfirmsChanged: if (activeFocus)
            (confirms ? cancel : stopButton).forceActiveFocus(Qt.TabFocusReason)

        IconButton {
            id: stopButton

            visible: !stop.confirms
            symbol: "xmark.circle"
            text: qsTr("Stop session")
            onClicked: root.model.showKillConfirm = true
        }
        Row {
            id: confirmation

            anchors.verticalCenter: parent.verticalCenter
            visible: stop.confirms
            spacing: Tokens.sp4

            Button {
                id: cancel

                text: qsTr("Cancel")
                onClicked: root.model.showKillConfirm = false
            }
            Button {
                text: qsTr("Stop")
                textColor: Theme.error
                onClicked: root.model.kill()
            }
        }
    }
    Hairline {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
    }
}
