import QtQuick
import QtQuick.Templates as T
import Vantry.Style

/// A choice out of a list that opens. It shows what it is told, and only asks for another choice: whoever owns the value
/// decides. The closed box opens at every key that would go to another choice.
T.ComboBox {
    id: root

    /// What is chosen.
    property string label
    property int selected: -1
    /// Why it can't be used now; empty while it can. It keeps its place in the keyboard's order.
    property string disabledReason
    readonly property bool usable: enabled && disabledReason === ""

    /// Also when it is the same choice again.
    signal chosen(int index)

    function open() {
        if (usable)
            popup.open();
    }

    implicitWidth: 132
    implicitHeight: Tokens.button
    currentIndex: selected
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: usable ? 1 : Tokens.disabledOpacity
    Accessible.role: Accessible.ComboBox
    Accessible.name: label === "" ? displayText : qsTr("%1, %2").arg(label).arg(displayText)
    Accessible.description: disabledReason
    Accessible.onPressAction: open()

    Keys.onPressed: event => event.accepted = keys.press(event)
    Keys.onReleased: event => event.accepted = keys.release(event)
    onActivated: index => {
        currentIndex = Qt.binding(() => root.selected);
        chosen(index);
    }

    background: ControlSurface {
        radius: Tokens.radiusControl
        hovered: root.hovered && root.usable
        pressed: root.down && root.usable
        restColor: Theme.raised
        border.width: Tokens.borderWidth
        border.color: Theme.lineStrong
    }
    contentItem: Item {
        Label {
            anchors.left: parent.left
            anchors.leftMargin: Tokens.sp8 + Tokens.sp2
            anchors.right: arrows.left
            anchors.verticalCenter: parent.verticalCenter
            text: root.displayText
            Accessible.ignored: true
        }
        Symbol {
            id: arrows

            anchors.right: parent.right
            anchors.rightMargin: Tokens.sp6
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron-expand"
            size: Tokens.iconSmall
        }
    }
    delegate: T.ItemDelegate {
        id: choice

        required property int index
        required property string modelData

        objectName: "choice" + index
        width: ListView.view.width
        implicitHeight: 26
        text: modelData
        highlighted: root.highlightedIndex === index
        hoverEnabled: root.hoverEnabled
        Accessible.role: Accessible.ListItem
        Accessible.name: text
        Accessible.selected: root.selected === index
        Accessible.onPressAction: clicked()

        background: Rectangle {
            radius: Tokens.radiusChip
            color: choice.down ? Theme.pressed : choice.highlighted ? Theme.hover : "transparent"
        }
        contentItem: Item {
            Symbol {
                anchors.left: parent.left
                anchors.leftMargin: Tokens.sp6
                anchors.verticalCenter: parent.verticalCenter
                visible: root.selected === choice.index
                name: "checkmark"
                size: Tokens.iconTiny
                color: Theme.text
            }
            Label {
                anchors.left: parent.left
                anchors.leftMargin: Tokens.sp24
                anchors.right: parent.right
                anchors.rightMargin: Tokens.sp8
                anchors.verticalCenter: parent.verticalCenter
                text: choice.text
                Accessible.ignored: true
            }
        }
    }
    popup: T.Popup {
        x: root.mirrored ? 0 : root.width - width
        y: root.height + Tokens.sp2
        implicitWidth: Math.max(root.width, 200)
        implicitHeight: Math.min(contentHeight, 9.5 * 26) + topPadding + bottomPadding
        contentHeight: list.contentHeight
        padding: Tokens.sp4 + 1
        margins: Tokens.sp8
        scale: Tokens.textScale
        transformOrigin: T.Popup.TopLeft
        onOpened: list.positionViewAtIndex(Math.max(0, root.highlightedIndex), ListView.Contain)

        contentItem: ListView {
            id: list

            clip: true
            model: root.delegateModel
            currentIndex: root.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds
            Accessible.role: Accessible.List
            Accessible.name: root.label
            T.ScrollBar.vertical: ThinScrollBar {}
        }
        background: ElevatedFrame {
            elevation: "menu"
            radius: Tokens.radiusRow
        }
    }

    FocusRing {}
    MouseArea {
        anchors.fill: parent
        enabled: !root.usable
        Accessible.ignored: true
    }
    HoverTip {
        text: root.disabledReason
        focused: root.visualFocus
    }

    QtObject {
        id: keys

        // The open list has its keys from the template, and the closed box its Space.
        function press(event: KeyEvent): bool {
            if (root.popup.visible || event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier))
                return false;
            if (event.key === Qt.Key_Space)
                return !root.usable;
            const steps = [Qt.Key_Up, Qt.Key_Down, Qt.Key_Home, Qt.Key_End];
            const takes = steps.includes(event.key) || event.text > " ";
            if (takes)
                root.open();
            return takes;
        }
        function release(event: KeyEvent): bool {
            if (root.popup.visible)
                return false;
            const isReturn = event.key === Qt.Key_Return || event.key === Qt.Key_Enter;
            if (isReturn)
                root.open();
            return isReturn || !root.usable;
        }
    }
}
