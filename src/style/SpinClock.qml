pragma Singleton
import QtQuick
import Vantry.Style

/// The angle of everything that spins. It comes from the clock, so all that spin do it together, in one frame. Fifteen
/// steps a second are enough for the eye.
QtObject {
    id: root

    /// How many spin now; while none does, nothing runs.
    property int users: 0
    property real angle: 0

    readonly property Timer timer: Timer {
        interval: 66
        repeat: true
        triggeredOnStart: true
        running: root.users > 0
        onTriggered: root.angle = Date.now() % Tokens.spinMs / Tokens.spinMs * 360
    }
}
