import QtQuick

/// What stands at one side of the notch.
Item {
    id: root

    required property rect area
    /// Of the parent, in the window.
    required property point origin
    required property NotchSurface look
    required property url view
    required property var properties
    readonly property real contentWidth: loader.item ? loader.item.implicitWidth : 0

    x: area.x - origin.x
    y: area.y - origin.y
    width: area.width
    height: area.height
    visible: width > 0 && opacity > 0
    enabled: look.isCompact
    opacity: look.compactOpacity
    scale: look.compactScale

    Loader {
        id: loader

        anchors.fill: parent
        Component.onCompleted: setSource(root.view, root.properties)
    }
}
