pragma Singleton
import QtQuick
import Vantry.Style

/// How opaque all that pulses is: to and fro in two halves, by the clock. Fifteen steps a second are enough for the
/// eye, and a session may wait for hours.
QtObject {
    id: root

    /// How many pulse now; while none does, nothing runs.
    property int users: 0
    property real opacity: 1

    readonly property Timer timer: Timer {
        interval: 66
        repeat: true
        triggeredOnStart: true
        running: root.users > 0
        onTriggered: root.opacity = 0.675 + 0.325 * Math.cos(Date.now() % (2 * Tokens.pulseMs) / Tokens.pulseMs * Math.PI)
    }
}
