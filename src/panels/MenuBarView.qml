import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// The panel: one screen at a time, the list of sessions at its root. Whoever shows it gives it its size, applies the
/// text scale, and draws the frame and the shadow around it.
FocusScope {
    id: root

    required property MenuBarViewModel model
    /// Of its corners, as its frame has them.
    property real radius: 0
    readonly property T.Control focusedControl: Window.activeFocusItem as T.Control

    implicitWidth: model.panelWidth
    implicitHeight: model.panelHeight
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft // qmllint disable
    LayoutMirroring.childrenInherit: true
    Keys.onEscapePressed: {
        model.back();
        // Who uses the keyboard sees what has the focus now.
        if (focusedControl !== null)
            focusedControl.focusReason = Qt.TabFocusReason;
    }

    // The components below are part of this file alone, and see what stands around them.
    // qmllint disable unqualified
    component Slot: ScreenSlot {
        anchors.fill: parent
        currentScreen: root.model.screen
        goingBack: root.model.goingBack
    }

    Connections {
        target: root.model.sessionList

        function onAnnouncement(text: string) {
            announcer.announce(text);
        }
    }
    Announcer {
        id: announcer
    }
    Shortcut {
        enabled: !browserSlot.current && !pickerSlot.current
        sequence: "Ctrl+F"
        onActivated: root.model.openSessionBrowser(true)
    }
    Shortcut {
        sequence: "Ctrl+N"
        onActivated: root.model.openSessionBrowser(false)
    }
    Shortcut {
        sequence: "Ctrl+,"
        onActivated: root.model.openSettings()
    }
    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.model.quit()
    }
    Rectangle {
        anchors.fill: parent
        radius: root.radius
        color: Theme.bg
    }
    // The list stays: it keeps its place, and the row that one comes back to.
    Slot {
        screen: MenuBarViewModel.SessionList
        offered: root.model
        keepsLoaded: true

        SessionListScreen {
            focus: true
            model: root.model
        }
    }
    Slot {
        id: browserSlot

        screen: MenuBarViewModel.SessionBrowser
        offered: root.model.browser

        SessionBrowserScreen {
            focus: true
            model: root.model.browser
            onBack: root.model.back()
        }
    }
    Slot {
        id: pickerSlot

        screen: MenuBarViewModel.NewSessionPicker
        offered: root.model.picker

        NewSessionPickerScreen {
            focus: true
            model: root.model.picker
            onBack: root.model.back()
        }
    }
    Slot {
        id: detailSlot

        screen: MenuBarViewModel.ProjectDetail
        offered: root.model.projectDetail

        ProjectDetailScreen {
            focus: true
            model: detailSlot.model as ProjectDetailModel
            onBack: root.model.back()
        }
    }
    Slot {
        id: dialogSlot

        screen: MenuBarViewModel.ResumeDialog
        offered: root.model.resumeDialog

        ResumeDialogScreen {
            focus: true
            model: dialogSlot.model as ResumeDialogModel
            onBack: root.model.back()
        }
    }
    Slot {
        id: chatSlot

        screen: MenuBarViewModel.Chat
        offered: root.model.chat

        ChatScreen {
            focus: true
            model: chatSlot.model as ChatViewModel
        }
    }
}
