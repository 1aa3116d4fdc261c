import QtQuick
import Vantry.Style

/// The place of one screen in the panel: it loads the screen while it is shown, lets it come and go, and gives it the
/// focus.
FocusScope {
    id: root

    /// Which of the panel's screens it is, and which one is shown now.
    required property int screen
    required property int currentScreen
    /// Whether the last change of screen was a step back.
    required property bool goingBack
    /// The screen's model; null while it has none.
    required property QtObject offered
    /// The same, but that a screen that goes keeps what it has shown.
    property QtObject model
    /// Whether the screen, once loaded, stays.
    property bool keepsLoaded: false
    default property alias content: loader.sourceComponent

    readonly property bool current: screen === currentScreen

    /// Shows what is offered, in a new screen if it is another than before.
    function takeOffered() {
        if (!current || offered === null || offered === model)
            return;
        loader.wanted = false;
        model = offered;
        loader.wanted = true;
    }

    enabled: current
    focus: current
    visible: opacity > 0
    opacity: 0
    onCurrentChanged: takeOffered()
    onOfferedChanged: takeOffered()
    Component.onCompleted: takeOffered()

    Loader {
        id: loader

        property bool wanted: false
        property real shift: 0

        x: root.LayoutMirroring.enabled ? -shift : shift
        width: parent.width
        height: parent.height
        focus: true
        active: wanted && (root.current || root.visible || root.keepsLoaded)
    }

    states: State {
        name: "shown"
        when: root.current

        PropertyChanges {
            target: root
            opacity: 1
        }
    }
    transitions: [
        Transition {
            to: "shown"

            NumberAnimation {
                property: "opacity"
                duration: Tokens.screenMs
                easing.type: Easing.OutCubic
            }
            NumberAnimation {
                target: loader
                property: "shift"
                from: root.goingBack ? -Tokens.screenShift : Tokens.screenShift
                to: 0
                duration: Tokens.screenMs
                easing.type: Easing.OutCubic
            }
        },
        Transition {
            from: "shown"

            NumberAnimation {
                property: "opacity"
                duration: Tokens.screenMs
                easing.type: Easing.OutCubic
            }
        }
    ]
}
