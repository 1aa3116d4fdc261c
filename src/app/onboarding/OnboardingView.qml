import QtQuick
import QtQuick.Templates as T
import Vantry.App
import Vantry.Panels
import Vantry.Style

/// The set-up: one step at a time, and below it the way back, how far one has come, and the main button, which Return
/// presses from everywhere but from another button. Whoever shows it applies the text scale.
FocusScope {
    id: root

    required property OnboardingViewModel viewModel
    readonly property T.ComboBox focusedBox: Window.activeFocusItem as T.ComboBox

    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft // qmllint disable
    LayoutMirroring.childrenInherit: true
    Keys.onReturnPressed: event => advance(event.isAutoRepeat)
    Keys.onEnterPressed: event => advance(event.isAutoRepeat)

    /// A key that is held down doesn't run through all steps.
    function advance(isAutoRepeat: bool) {
        if (!isAutoRepeat)
            viewModel.advance();
    }
    function announceStep(title: string) {
        announcer.announce(qsTr("%1, step %2 of %3").arg(title).arg(viewModel.stepIndex + 1).arg(viewModel.stepCount));
    }

    // The components below are part of this file alone, and see what stands around them.
    // qmllint disable unqualified
    component Slot: ScreenSlot {
        anchors.fill: parent
        currentScreen: root.viewModel.stepIndex
        goingBack: root.viewModel.isGoingBack
        offered: root.viewModel
    }

    Connections {
        target: root.viewModel

        function onAnnouncement(text: string) {
            announcer.announce(text);
        }
        // What had the focus has gone, but for Back.
        function onCurrentStepChanged() {
            if (!backButton.activeFocus)
                mainButton.forceActiveFocus();
        }
        function onHookChanged() {
            if (root.viewModel.isInstalling)
                mainButton.forceActiveFocus();
        }
    }
    Announcer {
        id: announcer
    }
    Shortcut {
        sequence: "Alt+Left"
        onActivated: root.viewModel.back()
    }
    // A box would open by it.
    Shortcut {
        enabled: root.focusedBox !== null && !root.focusedBox.popup.visible
        sequences: ["Return", "Enter"]
        autoRepeat: false
        onActivated: root.viewModel.advance()
    }
    Rectangle {
        anchors.fill: parent
        color: Theme.bg
    }
    FocusScope {
        anchors.top: parent.top
        anchors.bottom: bar.top
        width: parent.width

        Slot {
            screen: 0

            WelcomePage {
                Component.onCompleted: root.announceStep(title)
            }
        }
        Slot {
            screen: 1

            CapabilitiesPage {
                Component.onCompleted: root.announceStep(title)
            }
        }
        Slot {
            screen: 2

            DependenciesPage {
                viewModel: root.viewModel
                Component.onCompleted: root.announceStep(title)
            }
        }
        Slot {
            screen: 3

            HookPage {
                viewModel: root.viewModel
                Component.onCompleted: root.announceStep(title)
            }
        }
        Slot {
            screen: 4

            SoundsPage {
                viewModel: root.viewModel
                Component.onCompleted: root.announceStep(title)
            }
        }
        Slot {
            screen: 5

            DisplayModePage {
                viewModel: root.viewModel
                Component.onCompleted: root.announceStep(title)
            }
        }
        Slot {
            screen: 6

            DonePage {
                Component.onCompleted: root.announceStep(title)
            }
        }
    }
    Item {
        id: bar

        anchors.bottom: parent.bottom
        width: parent.width
        height: 60

        Button {
            id: backButton

            objectName: "back"
            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp12
            anchors.verticalCenter: parent.verticalCenter
            visible: root.viewModel.canGoBack
            focusPolicy: Qt.TabFocus
            kind: Button.Plain
            size: Button.Regular
            text: qsTr("Back")
            textColor: Theme.text2
            onClicked: root.viewModel.back()
            onVisibleChanged: {
                if (!visible)
                    mainButton.forceActiveFocus();
            }
        }
        StepDots {
            anchors.centerIn: parent
            count: root.viewModel.stepCount
            current: root.viewModel.stepIndex
        }
        Button {
            id: mainButton

            objectName: "main"
            anchors.right: parent.right
            anchors.rightMargin: Tokens.sp20
            anchors.verticalCenter: parent.verticalCenter
            focus: true
            focusPolicy: Qt.TabFocus
            kind: Button.Ink
            size: Button.Large
            busy: root.viewModel.isInstalling
            text: root.viewModel.mainButtonLabel
            onClicked: root.viewModel.advance()
            // Return is the window's.
            Keys.enabled: false
        }
    }
}
