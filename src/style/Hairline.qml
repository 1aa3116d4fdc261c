import QtQuick
import Vantry.Style

/// A line of one pixel between two areas.
Rectangle {
    implicitHeight: 1
    implicitWidth: 1
    color: Theme.line
    Accessible.ignored: true
}
