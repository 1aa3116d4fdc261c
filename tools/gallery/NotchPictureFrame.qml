import QtQuick
import Vantry.DynamicNotchKit
import Vantry.Notch
import Vantry.Style

/// The notch at the top of a desktop, as it looks when nothing moves any more.
Rectangle {
    id: root

    required property NotchViewModel notch
    required property bool isDark
    required property bool isExpanded
    property NotchPeekCardModel card: null

    readonly property real notchHeight: 28
    readonly property real topRadius: isExpanded ? 15 : 6
    readonly property real shapeWidth: isExpanded ? expanded.implicitWidth + 2 * (topRadius + 4) : 200 + leading.implicitWidth + trailing.implicitWidth
    readonly property real shapeHeight: notchHeight + (isExpanded ? expanded.implicitHeight + 8 : 0)

    implicitWidth: Math.max(shapeWidth, peek.width) + 80
    implicitHeight: shapeHeight + (card !== null ? peek.height + 4 : 0) + 40
    gradient: Gradient {
        GradientStop {
            position: 0
            color: root.isDark ? "#2B2F38" : "#E8ECF4"
        }
        GradientStop {
            position: 1
            color: root.isDark ? "#0D0E10" : "#B8C4D8"
        }
    }

    NotchShapeItem {
        id: shape

        anchors.horizontalCenter: parent.horizontalCenter
        width: root.shapeWidth
        height: root.shapeHeight
        topCornerRadius: root.topRadius
        bottomCornerRadius: root.isExpanded ? 20 : 14
    }
    NotchCompactLeadingView {
        id: leading

        viewModel: root.notch
        visible: !root.isExpanded
        x: (parent.width - 200) / 2 - width
        width: implicitWidth
        height: root.notchHeight
    }
    NotchCompactTrailingView {
        id: trailing

        viewModel: root.notch
        visible: !root.isExpanded
        x: (parent.width + 200) / 2
        width: implicitWidth
        height: root.notchHeight
    }
    NotchExpandedView {
        id: expanded

        viewModel: root.notch
        visible: root.isExpanded
        anchors.horizontalCenter: parent.horizontalCenter
        y: root.notchHeight
        width: implicitWidth
        height: implicitHeight
    }
    Item {
        id: peek

        width: 300 * Tokens.textScale
        height: 52 * Tokens.textScale
        anchors.horizontalCenter: parent.horizontalCenter
        y: root.notchHeight + 4

        ShadowShape {
            anchors.fill: card
            visible: root.card !== null
            elevation: "panel"
            radius: Tokens.radiusPeek
            color: Theme.shadow
            isOnDark: true
            scale: Tokens.textScale
            transformOrigin: Item.TopLeft
        }
        Loader {
            id: card

            active: root.card !== null
            width: 300
            height: 52
            scale: Tokens.textScale
            transformOrigin: Item.TopLeft
            sourceComponent: NotchPeekCard {
                card: root.card
            }
        }
    }
}
