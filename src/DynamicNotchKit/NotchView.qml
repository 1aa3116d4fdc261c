import QtQuick
import Vantry.DynamicNotchKit

/// A part of the screen's edge: the shape, what stands beside the notch, and what opens below it.
Item {
    id: root

    required property NotchSurface surface

    SurfaceShadow {
        surface: root.surface
        // What is above the window isn't seen.
        caster: Qt.rect(root.surface.shapeRect.x + root.surface.topCornerRadius, -2 * reach,
                        root.surface.shapeRect.width - 2 * root.surface.topCornerRadius,
                        root.surface.shapeRect.height + 2 * reach)
    }
    NotchShapeItem {
        visible: opacity > 0
        x: root.surface.formerRect.x
        y: root.surface.formerRect.y
        width: root.surface.formerRect.width
        height: root.surface.formerRect.height
        topCornerRadius: root.surface.formerTopCornerRadius
        bottomCornerRadius: root.surface.formerBottomCornerRadius
        opacity: root.surface.formerOpacity
    }
    NotchShapeItem {
        x: root.surface.shapeRect.x
        y: root.surface.shapeRect.y
        width: root.surface.shapeRect.width
        height: root.surface.shapeRect.height
        topCornerRadius: root.surface.topCornerRadius
        bottomCornerRadius: root.surface.bottomCornerRadius
        opacity: root.surface.shapeOpacity
    }
    Item {
        id: contents

        x: root.surface.contentClip.x
        y: root.surface.contentClip.y
        width: root.surface.contentClip.width
        height: root.surface.contentClip.height
        clip: true

        ExpandedContent {
            surface: root.surface
            origin: Qt.point(contents.x, contents.y)
        }
    }
    Item {
        id: sides

        x: root.surface.shapeRect.x
        y: root.surface.shapeRect.y
        width: root.surface.shapeRect.width
        height: root.surface.shapeRect.height
        clip: true

        CompactContent {
            surface: root.surface
            area: root.surface.leadingRect
            origin: Qt.point(sides.x, sides.y)
            source: root.surface.leadingSource
            properties: root.surface.leadingProperties
            onContentSizeChanged: root.surface.leadingContentWidth = contentSize.width
        }
        CompactContent {
            surface: root.surface
            area: root.surface.trailingRect
            origin: Qt.point(sides.x, sides.y)
            source: root.surface.trailingSource
            properties: root.surface.trailingProperties
            onContentSizeChanged: root.surface.trailingContentWidth = contentSize.width
        }
    }
}
