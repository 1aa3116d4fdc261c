import QtQuick
import Vantry.App
import Vantry.Style

/// A setting that is on or off.
SettingsRow {
    id: root

    property bool on: false
    /// Why it can't be flipped now; empty while it can.
    property string disabledReason
    /// The switch's, for those who look for it.
    property string switchName

    signal flipped(bool on)

    isDimmed: disabledReason !== ""

    Switch {
        objectName: root.switchName
        text: root.label
        on: root.on
        disabledReason: root.disabledReason
        onFlipped: on => root.flipped(on)
    }
}
