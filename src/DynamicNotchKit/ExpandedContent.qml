import QtQuick
import Vantry.DynamicNotchKit

/// What the surface opens to. It is made while the surface is compact, so that it is there when it is asked for.
NotchContent {
    id: root

    required property NotchSurface surface
    /// Of the parent, in the window.
    required property point origin

    x: surface.expandedRect.x - origin.x
    y: surface.expandedRect.y - origin.y
    width: surface.expandedRect.width
    height: surface.expandedRect.height
    visible: surface.isExpanded || opacity > 0
    enabled: surface.isExpanded
    focus: surface.isKey
    opacity: surface.expandedOpacity
    scale: surface.expandedScale
    transformOrigin: Item.Top
    source: surface.expandedSource
    properties: surface.expandedProperties
    isNeeded: surface.isExpanded
    onContentSizeChanged: surface.expandedContentSize = contentSize
}
