import QtQuick
import Vantry.DynamicNotchKit

/// The label of an info at one side of the notch.
Item {
    id: root

    required property DynamicNotchInfo info
    required property bool isLeading

    implicitWidth: 30

    InfoLabelView {
        anchors.centerIn: parent
        width: Math.min(16, root.height)
        height: width
        label: root.isLeading ? root.info.compactLeading : root.info.compactTrailing
    }
}
