import QtQuick
import Vantry.DynamicNotchKit

/// A pill that drops from above the screen's edge, where there is no notch.
Item {
    id: root

    required property NotchSurface surface

    SurfaceShadow {
        surface: root.surface
        caster: root.surface.shapeRect
    }
    VisualEffectView {
        x: root.surface.shapeRect.x
        y: root.surface.shapeRect.y
        width: root.surface.shapeRect.width
        height: root.surface.shapeRect.height
        radius: root.surface.bottomCornerRadius
        material: VisualEffectView.Popover
        blendingMode: VisualEffectView.BehindWindow
        opacity: root.surface.shapeOpacity
    }
    ExpandedContent {
        surface: root.surface
        origin: Qt.point(0, 0)
    }
}
