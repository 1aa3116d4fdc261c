import QtQuick
import Vantry.DynamicNotchKit

/// The two shadows of a surface, of which one fades over the other.
Item {
    id: root

    required property NotchSurface surface
    /// What throws it.
    required property rect caster
    readonly property real reach: 20

    NotchShadow {
        x: root.caster.x
        y: root.caster.y
        width: root.caster.width
        height: root.caster.height
        radius: root.reach / 2
        visible: opacity > 0
        opacity: root.surface.shadowOpacity
    }
    NotchShadow {
        x: root.caster.x
        y: root.caster.y
        width: root.caster.width
        height: root.caster.height
        radius: root.reach
        visible: opacity > 0
        opacity: root.surface.strongShadowOpacity
    }
}
