import QtQuick
import Vantry.DynamicNotchKit

/// A ground for what floats over other windows. Where windows can't see through to what is behind them it has a plain
/// colour.
Rectangle {
    id: root

    enum Material {
        Popover,
        HudWindow
    }
    enum BlendingMode {
        BehindWindow,
        WithinWindow
    }

    property int material: VisualEffectView.Popover
    /// Reserved for grounds that are blurred.
    property int blendingMode: VisualEffectView.BehindWindow
    readonly property bool isActive: true
    readonly property bool isEmphasized: true

    color: material === VisualEffectView.Popover ? "#000000" : "#131416"
    border.color: "#26282C"
    border.width: isEmphasized ? 1 : 0
}
