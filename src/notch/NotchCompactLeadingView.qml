import QtQuick
import Vantry.Notch
import Vantry.Style

/// The left side of the compact notch: what is most urgent, in one glyph.
NotchCompactSide {
    id: root

    property bool pulse: false
    readonly property bool pulses: pulse && waits && isSeen && !Tokens.reducedMotion
    readonly property bool waits: viewModel.glyph === NotchViewModel.Permission || viewModel.glyph === NotchViewModel.Question
    readonly property bool works: viewModel.glyph === NotchViewModel.Working
    readonly property bool spins: works && isSeen && !Tokens.reducedMotion

    function updatePulse() {
        pulse = viewModel.attentionCount > 0;
    }

    isLeading: true
    Accessible.role: Accessible.StaticText
    Accessible.name: viewModel.accessibleText
    Component.onCompleted: updatePulse()
    Component.onDestruction: {
        SpinClock.users -= spins ? 1 : 0;
        PulseClock.users -= pulses ? 1 : 0;
    }
    onSpinsChanged: SpinClock.users += spins ? 1 : -1
    onPulsesChanged: PulseClock.users += pulses ? 1 : -1

    Connections {
        target: root.viewModel

        function onAttentionCountChanged() {
            root.updatePulse();
        }
    }
    Symbol {
        objectName: "waitingGlyph"
        anchors.centerIn: parent
        visible: root.waits
        name: root.viewModel.glyph === NotchViewModel.Permission ? "exclamationmark" : "questionmark"
        // The symbol itself is a part of its square.
        size: 16
        color: Theme.accent
        opacity: root.pulses ? PulseClock.opacity : 1
    }
    Mark {
        objectName: "mark"
        anchors.centerIn: parent
        visible: !root.waits
        size: 10
        color: root.works ? Theme.accent : "#FFFFFF"
        angle: root.spins ? SpinClock.angle : 0
    }
}
