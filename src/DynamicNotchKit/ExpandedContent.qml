import QtQuick

/// What the surface opens to. It is made while the surface is compact, in steps that nobody feels, so that it is there
/// when it is asked for.
Loader {
    id: root

    required property NotchSurface surface
    /// Of the parent, in the window.
    required property point origin
    readonly property size contentSize: item ? Qt.size(item.implicitWidth, item.implicitHeight) : Qt.size(0, 0)

    x: surface.expandedRect.x - origin.x
    y: surface.expandedRect.y - origin.y
    width: surface.expandedRect.width
    height: surface.expandedRect.height
    visible: surface.isExpanded || opacity > 0
    enabled: surface.isExpanded
    opacity: surface.expandedOpacity
    scale: surface.expandedScale
    transformOrigin: Item.Top
    asynchronous: !surface.isExpanded
    onContentSizeChanged: surface.expandedContentSize = contentSize
    Component.onCompleted: setSource(surface.expandedSource, surface.expandedProperties)
}
