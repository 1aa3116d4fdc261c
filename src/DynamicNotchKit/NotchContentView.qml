import QtQuick
import Vantry.DynamicNotchKit

/// The surface in its window, in the style that the screen asks for.
Item {
    id: root

    required property NotchSurface surface

    opacity: surface.alpha

    FrameAnimation {
        running: root.surface.isAnimating
        onTriggered: root.surface.advance()
    }
    Loader {
        anchors.fill: parent
        focus: true
        sourceComponent: root.surface.isFloating ? floating : notch
    }
    Component {
        id: notch

        NotchView {
            surface: root.surface
        }
    }
    Component {
        id: floating

        NotchlessView {
            surface: root.surface
        }
    }
}
