import QtQuick
import Vantry.Panels
import Vantry.Style

/// The root of the panel: what is running, what waits for the user on top.
FocusScope {
    id: root

    required property MenuBarViewModel model
    readonly property SessionListModel sessions: root.model.sessionList

    Connections {
        target: root.model

        function onVisibleChanged() {
            if (root.model.visible)
                list.positionViewAtBeginning();
        }
    }

    ScreenHeader {
        id: header

        width: parent.width
        title: "Vantry"
        caption: root.model.activeText
        marked: list.isScrolled && root.sessions.attentionCount > 0

        IconButton {
            symbol: root.model.notificationsOn ? "bell" : "bell-slash"
            text: root.model.notificationsOn ? qsTr("Turn notifications off") : qsTr("Turn notifications on")
            color: root.model.notificationsOn ? Theme.text2 : Theme.text3
            onClicked: root.model.notificationsOn = !root.model.notificationsOn
        }

        IconButton {
            id: sounds

            symbol: root.model.soundsOn ? "volume-up" : "volume-mute"
            text: root.model.soundsOn ? qsTr("Turn sounds off") : qsTr("Turn sounds on")
            color: root.model.soundsOn ? Theme.text2 : Theme.text3
            onClicked: root.model.soundsOn = !root.model.soundsOn
            Keys.onTabPressed: telegram.visible ? telegram.forceActiveFocus(Qt.TabFocusReason) : list.focusNewSession()
        }

        IconButton {
            id: telegram

            symbol: "telegram"
            text: root.model.telegramOn ? qsTr("Pause Telegram") : qsTr("Resume Telegram")
            color: root.model.telegramOn ? Theme.text2 : Theme.text3
            visible: root.model.telegramConfigured
            onClicked: root.model.telegramOn = !root.model.telegramOn
            Keys.onTabPressed: list.focusNewSession()
            Keys.onBacktabPressed: sounds.forceActiveFocus(Qt.BacktabFocusReason)

            // The symbol has no struck form of its own.
            Rectangle {
                anchors.centerIn: parent
                width: telegram.symbolSize + Tokens.sp4
                height: Tokens.sp2
                rotation: 45
                visible: !root.model.telegramOn
                color: telegram.color
                antialiasing: true
            }
        }
    }

    SessionListView {
        id: list

        anchors.top: header.bottom
        anchors.bottom: footer.top
        width: parent.width
        focus: true
        sessions: root.sessions
        animated: root.model.visible && root.enabled
        onNewSessionRequested: root.model.openSessionBrowser(false)
        onOpened: sessionID => root.model.openChat(sessionID)
        onMenuRequested: (sessionID, item, position) => menu.openFor(sessionID, item, position)
        onTabbedOut: forward => (forward ? search : telegram.visible ? telegram : sounds).forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason)
    }

    EmptyState {
        anchors.horizontalCenter: list.horizontalCenter
        anchors.verticalCenter: list.verticalCenter
        width: parent.width
        anchors.verticalCenterOffset: list.headerItem.height / 2
        visible: list.count === 0
        symbol: "sparkle"
        title: qsTr("Start a coding agent to see it here")
    }

    Item {
        id: footer

        anchors.bottom: parent.bottom
        width: parent.width
        height: Tokens.footerHeight

        Hairline {
            width: parent.width
        }

        IconButton {
            id: search

            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp8
            anchors.verticalCenter: parent.verticalCenter
            symbol: "magnifyingglass"
            text: qsTr("Search sessions...")
            onClicked: root.model.openSessionBrowser(true)
            Keys.onBacktabPressed: list.focusLast()
        }

        IconButton {
            anchors.right: quit.left
            anchors.rightMargin: Tokens.sp2
            anchors.verticalCenter: parent.verticalCenter
            symbol: "gearshape"
            text: qsTr("Settings")
            onClicked: root.model.openSettings()
        }

        IconButton {
            id: quit

            anchors.right: parent.right
            anchors.rightMargin: Tokens.sp8
            anchors.verticalCenter: parent.verticalCenter
            symbol: "power"
            text: qsTr("Quit Vantry")
            onClicked: root.model.quit()
        }
    }

    SessionMenu {
        id: menu

        sessions: root.sessions
        onViewRequested: sessionID => root.model.openChat(sessionID)
    }
}
