import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// What stands in the place of the lines that are folded away, and shows them.
T.AbstractButton {
    id: root

    required property int hiddenLines
    /// In a bubble of the user's.
    property bool inBubble: false

    readonly property color color: inBubble ? Qt.alpha(Theme.onBubble, 0.7) : Theme.text2
    readonly property color lineColor: inBubble ? Qt.alpha(Theme.onBubble, 0.2) : Theme.line

    implicitWidth: caption.implicitWidth + 2 * Tokens.sp24
    implicitHeight: Tokens.hitMin
    text: qsTr("Show %1 more lines").arg(hiddenLines)
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: root.clicked()
    Keys.onReturnPressed: root.clicked()
    Keys.onEnterPressed: root.clicked()

    contentItem: Item {
        Rectangle {
            anchors.left: parent.left
            anchors.right: caption.left
            anchors.rightMargin: Tokens.sp8
            anchors.verticalCenter: parent.verticalCenter
            height: 1
            color: root.lineColor
        }
        Row {
            id: caption

            anchors.centerIn: parent
            spacing: Tokens.sp6

            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.down"
                size: Tokens.iconTiny
                color: root.color
            }
            Label {
                text: root.text
                textStyle: Tokens.meta
                color: root.color
                Accessible.ignored: true

                Rectangle {
                    y: parent.baselineOffset + Tokens.sp2
                    width: parent.width
                    height: 1
                    visible: root.hovered
                    color: root.color
                }
            }
        }
        Rectangle {
            anchors.left: caption.right
            anchors.leftMargin: Tokens.sp8
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            height: 1
            color: root.lineColor
        }
    }

    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
    FocusRing {
        target: root
        inside: true
    }
}
