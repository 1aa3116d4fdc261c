import QtQuick
import Vantry.DynamicNotchKit

/// What stands at one side of the notch.
NotchContent {
    id: root

    required property NotchSurface surface
    /// In the window.
    required property rect area
    /// Of the parent, in the window.
    required property point origin

    x: area.x - origin.x
    y: area.y - origin.y
    width: area.width
    height: area.height
    visible: width > 0 && opacity > 0
    enabled: surface.isCompact
    opacity: surface.compactOpacity
    scale: surface.compactScale
    isNeeded: true
}
