import QtQuick
import Vantry.Style

/// What lies under a field. A field shows its focus however it came.
Rectangle {
    property bool focused: false

    radius: Tokens.radiusControl
    color: focused ? Theme.raised : Theme.sunken
    border.width: focused ? Tokens.focusRingWidth : Tokens.borderWidth
    border.color: focused ? Theme.focus : Theme.line
    Accessible.ignored: true
}
