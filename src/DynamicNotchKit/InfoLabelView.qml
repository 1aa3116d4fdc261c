import QtQuick
import Vantry.DynamicNotchKit

/// A label of an info: a picture, a ring or a view of its own.
Item {
    id: root

    required property var label

    Image {
        anchors.fill: parent
        visible: root.label.kind === 1
        source: visible ? root.label.image : ""
        sourceSize.width: width
        sourceSize.height: height
        fillMode: Image.PreserveAspectFit
    }
    SystemImage {
        anchors.fill: parent
        visible: root.label.kind === 2
        name: root.label.systemImage
        color: root.label.color
    }
    ProgressRing {
        anchors.fill: parent
        visible: root.label.kind === 3
        progress: root.label.progress
        color: root.label.color
    }
    Loader {
        anchors.fill: parent
        active: root.label.kind === 4

        sourceComponent: NotchContent {
            source: root.label.image
            properties: root.label.viewProperties
            isNeeded: true
        }
    }
}
