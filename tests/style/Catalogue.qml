import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// Every control in its states, for tests and to be looked at.
Rectangle {
    id: root

    property int pressed: 0

    function openMenuAt(x, y) {
        menu.popup(root, x, y);
    }

    width: 560
    height: 760
    color: Theme.bg

    Column {
        id: column

        x: 16
        width: 528
        spacing: 12

        ScreenHeader {
            objectName: "header"
            x: -16
            width: 560
            title: "A screen"
            caption: "4 active"
            showBack: true
            onBack: root.pressed += 1

            IconButton {
                objectName: "icon"
                symbol: "bell"
                text: "Notifications"
                onClicked: root.pressed += 1
            }
            IconButton {
                objectName: "iconOff"
                symbol: "bell-slash"
                color: Theme.text3
                text: "Sounds"
                disabledReason: "Not now"
            }
        }
        Repeater {
            model: [Button.Bordered, Button.Accent, Button.Ink, Button.Plain]

            Row {
                id: buttons

                required property int modelData

                spacing: 12

                Button {
                    objectName: "button" + buttons.modelData
                    kind: buttons.modelData
                    text: "Allow"
                    onClicked: root.pressed += 1
                }
                Button {
                    objectName: "disabled" + buttons.modelData
                    kind: buttons.modelData
                    text: "Allow"
                    disabledReason: "Nothing waits"
                    onClicked: root.pressed += 1
                }
                Button {
                    objectName: "done" + buttons.modelData
                    kind: buttons.modelData
                    text: "Allow"
                    done: true
                    onClicked: root.pressed += 1
                }
                Button {
                    kind: buttons.modelData
                    size: Button.Regular
                    symbol: "arrow.triangle.branch"
                    text: "Switch to main"
                }
                Button {
                    kind: buttons.modelData
                    size: Button.Regular
                    symbol: "arrow.triangle.branch"
                    text: "Switch"
                    busy: true
                }
                Button {
                    kind: buttons.modelData
                    size: Button.Regular
                    text: "Allow"
                    done: true
                }
                Button {
                    kind: buttons.modelData
                    size: Button.Large
                    text: "Continue"
                }
            }
        }
        SearchField {
            objectName: "search"
            width: parent.width
            placeholder: "Search sessions..."
        }
        SearchField {
            width: parent.width
            placeholder: "Search sessions..."
            text: "checkout"
        }
        MessageField {
            objectName: "message"
            width: parent.width
            placeholder: "Message..."
            onAccepted: root.pressed += 1
        }
        SectionHeader {
            objectName: "section"
            title: "Needs Attention"
            count: 2
            tint: Theme.accentText
        }
        ListRow {
            id: row

            objectName: "row"
            width: parent.width
            text: "storefront-web"
            onClicked: root.pressed += 1
            onMenuRequested: position => menu.popup(row, position)

            Row {
                x: 8
                y: 8
                spacing: 8

                SpinningSparkle {
                    objectName: "sparkle"
                }
                Label {
                    width: 80
                    objectName: "elided"
                    text: "storefront-web-with-a-long-name"
                    textStyle: Tokens.row
                }
                PulsingDot {}
                ContextPie {
                    used: 38
                }
                ContextPie {
                    used: 86
                }
                BusyRing {}
                Tag {
                    text: "soon"
                }
                Mark {
                    beadColor: Theme.accent
                }
            }
        }
        ListRow {
            width: parent.width
            attention: true
        }
        ListRow {
            width: parent.width
            highlighted: true
        }
        Row {
            spacing: 12

            Card {
                kind: Card.Tint
                Label {
                    text: "Branch mismatch"
                }
            }
            Card {
                kind: Card.Sunken
                Label {
                    text: "Checking"
                }
            }
            Card {
                kind: Card.Error
                Label {
                    text: "Branch deleted"
                    color: Theme.error
                }
            }
            Card {
                Label {
                    text: "Raised"
                }
            }
        }
        Row {
            spacing: 20

            ContextBar {
                objectName: "bar"
                used: 22
            }
            ContextBar {
                used: 55
                level: ContextBar.Yellow
            }
            ContextBar {
                used: 86
                level: ContextBar.Red
            }
        }
        Row {
            spacing: 40

            EmptyState {
                width: 200
                height: 100
                symbol: "folder.badge.questionmark"
                title: "No recent projects"
                caption: "Open a project with Claude Code first"
            }
            ElevatedFrame {
                width: 100
                height: 80
                elevation: "panel"
                radius: Tokens.radiusPanel
            }
            ElevatedFrame {
                width: 100
                height: 80
            }
        }
    }
    PopupMenu {
        id: menu

        objectName: "menu"

        PopupMenuItem {
            symbol: "message"
            text: "View Agent"
            onTriggered: root.pressed += 1
        }
        PopupMenuItem {
            symbol: "macwindow"
            text: "Focus Terminal"
        }
        PopupMenuSeparator {}
        PopupMenuItem {
            symbol: "xmark.circle"
            text: "Terminate"
            destructive: true
        }
    }
}
