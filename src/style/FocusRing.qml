import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// The ring around the control that has the keyboard's focus. Outside of it with a gap, or inside, where the outside
/// may be cut off.
Rectangle {
    id: root

    property T.Control target: parent as T.Control
    property real targetRadius: Tokens.radiusControl
    property bool inside: false
    readonly property real distance: inside ? 0 : Tokens.focusRingOffset + Tokens.focusRingWidth

    objectName: "focusRing"
    anchors.fill: parent
    anchors.margins: -distance
    radius: targetRadius + distance
    color: "transparent"
    border.width: Tokens.focusRingWidth
    border.color: Theme.focus
    visible: target !== null && target.visualFocus
    Accessible.ignored: true
}
