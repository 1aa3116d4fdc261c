import QtQuick
import Vantry.App
import Vantry.Style

/// All that the user can change, in tabs. Only the tab that is shown is built.
Rectangle {
    id: root

    required property SettingsViewModel model

    color: Theme.page
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft // qmllint disable
    LayoutMirroring.childrenInherit: true
    Component.onCompleted: tabs.focusCurrent(Qt.OtherFocusReason)

    FocusScope {
        id: surface

        width: root.width / Tokens.textScale
        height: root.height / Tokens.textScale
        scale: Tokens.textScale
        transformOrigin: Item.TopLeft
        focus: true
        Keys.onEscapePressed: root.Window.window.close()

        Rectangle {
            id: header

            width: parent.width
            height: tabs.implicitHeight + 2 * Tokens.sp8
            color: Theme.bg

            TabRow {
                id: tabs

                objectName: "tabs"
                anchors.centerIn: parent
                entries: [
                    TabEntry {
                        symbol: "gearshape"
                        title: qsTr("General")
                    },
                    TabEntry {
                        symbol: "telegram"
                        title: qsTr("Telegram")
                    },
                    TabEntry {
                        symbol: "info.circle"
                        title: qsTr("About")
                    },
                    TabEntry {
                        symbol: "wrench.and.screwdriver"
                        title: qsTr("Debug")
                    }
                ]
            }
            Hairline {
                anchors.bottom: parent.bottom
                width: parent.width
            }
        }
        Loader {
            anchors.top: header.bottom
            anchors.bottom: parent.bottom
            width: parent.width
            sourceComponent: [general, telegram, about, debug][tabs.current]
        }
    }

    Component {
        id: general

        GeneralSettingsTab {
            model: root.model.general
        }
    }
    Component {
        id: telegram

        TelegramSettingsTab {
            model: root.model.telegram
        }
    }
    Component {
        id: about

        AboutSettingsTab {
            model: root.model.about
        }
    }
    Component {
        id: debug

        DebugSettingsTab {
            model: root.model.debug
        }
    }

    Shortcut {
        sequences: ["Ctrl+Tab", "Ctrl+PgDown"]
        onActivated: tabs.step(1)
    }
    Shortcut {
        sequences: ["Ctrl+Shift+Tab", "Ctrl+PgUp"]
        onActivated: tabs.step(-1)
    }
    Shortcut {
        sequences: [StandardKey.Close]
        onActivated: root.Window.window.close()
    }
}
