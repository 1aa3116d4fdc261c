import QtQuick
import Vantry.Style

/// The options of a question that can be answered at once, and "View" for all else.
FocusScope {
    id: root

    required property var options
    /// Why there are none; empty where there is nothing to tell.
    required property string refusal

    readonly property Item last: view
    /// The option at the end of the last line.
    readonly property Item lastOption: repeater.count > 0 ? repeater.itemAt(repeater.count - 1) : null
    readonly property real lastOptionEnd: lastOption === null ? 0 : LayoutMirroring.enabled ? width - lastOption.x : lastOption.x + lastOption.width
    readonly property bool viewFits: lastOptionEnd + view.width <= width + view.rightPadding

    signal answered(int option)
    signal viewed
    /// Tab goes on from the last button.
    signal tabbedOut

    implicitHeight: view.y + view.height

    Flow {
        id: flow

        width: parent.width
        spacing: Tokens.sp6

        Repeater {
            id: repeater

            model: root.options

            // The components below are part of this file alone, and see what stands around them.
            // qmllint disable unqualified
            Button {
                required property int index
                required property string modelData

                width: Math.min(implicitWidth, root.width)
                text: modelData
                onClicked: root.answered(index)
            }
        }
    }
    Button {
        id: view

        anchors.right: parent.right
        anchors.rightMargin: -rightPadding
        y: root.lastOption === null ? 0 : root.viewFits ? root.lastOption.y : flow.height + Tokens.sp6
        kind: Button.Plain
        text: qsTr("View")
        Accessible.description: root.refusal
        onClicked: root.viewed()
        Keys.onTabPressed: root.tabbedOut()

        HoverTip {
            text: root.refusal
            focused: view.visualFocus
        }
    }
}
