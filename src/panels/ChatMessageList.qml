import QtQuick
import QtQuick.Templates as T
import Vantry.Panels
import Vantry.Style

/// The conversation, from the bottom up. It follows what comes until the user scrolls up, and again from the end on.
T.Control {
    id: root

    required property ChatViewModel model

    /// Whether the newest message is kept in view.
    property bool follows: true
    readonly property Item focusItem: Window.activeFocusItem

    function firstY(): real {
        return list.originY - list.topMargin;
    }

    function lastY(): real {
        return Math.max(firstY(), list.originY + list.contentHeight + list.bottomMargin - list.height);
    }

    function showEnd() {
        follows = true;
        // This makes the last rows, whose heights are only guessed before; it leaves out the margin.
        list.positionViewAtEnd();
        list.contentY = lastY();
    }

    function scrollBy(distance: real) {
        list.contentY = Math.max(firstY(), Math.min(lastY(), list.contentY + distance));
        follows = list.contentY >= lastY() - 1;
    }

    /// After the size of the list or of what it holds has changed. A short conversation stands at the bottom.
    function settle() {
        list.topMargin = Math.max(Tokens.sp12, list.height - list.contentHeight - list.bottomMargin);
        if (follows)
            showEnd();
    }

    /// Whether an item stands in a message.
    function holds(item: Item): bool {
        return item !== null && (item === list.contentItem || holds(item.parent));
    }

    /// Scrolls to what the keyboard has come to. Texts get the focus by the pointer alone, and stay where they are.
    function showFocus() {
        if (!holds(focusItem) || !focusItem.activeFocusOnTab)
            return;
        const top = focusItem.mapToItem(list.contentItem, 0, 0).y - list.contentY - Tokens.sp12;
        const bottom = top + focusItem.height + 2 * Tokens.sp12 - list.height;
        scrollBy(Math.min(top, 0) + Math.max(bottom, 0));
    }

    onFocusItemChanged: showFocus()
    focusPolicy: Qt.TabFocus
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Messages")
    Keys.onUpPressed: scrollBy(-3 * Tokens.body.lineHeight)
    Keys.onDownPressed: scrollBy(3 * Tokens.body.lineHeight)
    Keys.onPressed: event => {
        const page = list.height - 2 * Tokens.body.lineHeight;
        const distance = ({
                [Qt.Key_PageUp]: -page,
                [Qt.Key_PageDown]: page,
                [Qt.Key_Home]: -list.contentHeight,
                [Qt.Key_End]: list.contentHeight
            })[event.key];
        event.accepted = distance !== undefined;
        if (event.accepted)
            scrollBy(distance);
    }

    Connections {
        target: root.model

        function onScrollToEnd() {
            if (root.follows)
                root.showEnd();
        }
    }
    // Changes of size come while rows are being laid out, which must not be disturbed.
    Timer {
        id: settling

        interval: 0
        onTriggered: root.settle()
    }
    ListView {
        id: list

        anchors.fill: parent
        clip: true
        model: root.model.messages
        currentIndex: -1
        keyNavigationEnabled: false
        boundsBehavior: Flickable.StopAtBounds
        cacheBuffer: 400
        bottomMargin: Tokens.sp8
        section.property: "kind"
        T.ScrollBar.vertical: ThinScrollBar {
            id: scrollBar
        }
        onContentYChanged: if (moving || scrollBar.pressed)
            root.follows = atYEnd
        onContentHeightChanged: settling.restart()
        onHeightChanged: settling.restart()

        delegate: ChatMessageRow {
            width: list.width
            onExpanded: root.model.messages.expand(index)
            onLinkActivated: link => root.model.openLink(link)
        }
        footer: Item {
            width: list.width
            height: root.model.typingText === "" ? 0 : typing.implicitHeight + Tokens.sp8

            TypingIndicator {
                id: typing

                anchors.left: parent.left
                anchors.leftMargin: Tokens.sp12
                anchors.right: parent.right
                anchors.rightMargin: Tokens.sp12
                anchors.bottom: parent.bottom
                visible: root.model.typingText !== ""
                text: root.model.typingText
            }
        }
    }
    EmptyState {
        anchors.centerIn: parent
        width: parent.width
        visible: root.model.isEmpty
        symbol: "xmark.circle"
        title: qsTr("No transcript yet")
    }
    FocusRing {
        anchors.margins: Tokens.focusRingOffset
        inside: true
    }
    IconButton {
        id: toEnd

        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Tokens.sp12
        visible: !root.follows
        symbol: "chevron.down"
        text: qsTr("Newest messages")
        onClicked: root.showEnd()

        background: Rectangle {
            radius: width / 2
            color: toEnd.down ? Theme.pressed : toEnd.hovered ? Theme.hover : Theme.raised
            border.width: Tokens.borderWidth
            border.color: Theme.lineStrong
        }
    }
}
