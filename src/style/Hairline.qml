import QtQuick

/// A line of one pixel between two areas.
Rectangle {
    implicitHeight: 1
    color: "#E2E4E8"
    Accessible.ignored: true
}
